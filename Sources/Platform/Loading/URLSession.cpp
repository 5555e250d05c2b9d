#include "Platform/Loading/URLSession.hpp"

#include <utility>

#include "Platform/Loading/Internal/SessionCore.hpp"
#include "Platform/Loading/Internal/TaskCore.hpp"

namespace platform {

URLSessionTask::~URLSessionTask() = default;

std::shared_ptr<URLSession> URLSession::make(URLSessionConfiguration configuration,
                                             std::shared_ptr<URLSessionDelegate> delegate,
                                             DispatchQueue delegateQueue) {
  auto core =
      std::make_shared<detail::SessionCore>(std::move(configuration), std::move(delegate), std::move(delegateQueue));
  std::shared_ptr<URLSession> session(new URLSession(core));
  core->setSession(session);
  return session;
}

URLSession::URLSession(std::shared_ptr<detail::SessionCore> core) : core_(std::move(core)) {}

URLSession::~URLSession() = default;

const URLSessionConfiguration& URLSession::configuration() const { return core_->configuration(); }

std::optional<std::string> URLSession::sessionDescription() const { return core_->description(); }

void URLSession::setSessionDescription(std::optional<std::string> description) {
  core_->setDescription(std::move(description));
}

std::shared_ptr<URLSessionTask> URLSession::dataTask(URLRequest request, DataCompletion completion) {
  return std::make_shared<detail::TaskCore>(shared_from_this(), core_, std::move(request), std::move(completion),
                                            core_->isInvalidated());
}

void URLSession::finishTasksAndInvalidate() { core_->invalidate(false); }

void URLSession::invalidateAndCancel() { core_->invalidate(true); }

}  // namespace platform
