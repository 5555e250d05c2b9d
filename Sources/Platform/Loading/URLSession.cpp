#include "Platform/Loading/URLSession.hpp"

#include <utility>

#include "Platform/Loading/Internal/SessionCore.hpp"
#include "Platform/Loading/Internal/TaskCore.hpp"
#include "Platform/Networking/Connecting/TLSContext.hpp"

namespace platform {

URLSessionTask::~URLSessionTask() = default;

std::shared_ptr<const TaskMetrics> URLSessionTask::metrics() const { return nullptr; }

std::string URLSessionConfiguration::problem() const {
  if (maximumBodyBytes < 0) return "The limit of a response's body is negative.";
  if (httpMaximumConnectionsPerHost < 0) return "The limit of connections to a host is negative.";
  if (redirects.limit < 0) return "The limit of redirects is negative.";
  std::string problem = cache.problem();
  if (problem.empty()) problem = connections.problem();
  if (problem.empty()) problem = tls.problem();
  return problem;
}

std::shared_ptr<URLSession> URLSession::make(URLSessionConfiguration configuration,
                                             std::shared_ptr<URLSessionDelegate> delegate,
                                             DispatchQueue delegateQueue) {
  if (std::string problem = configuration.problem(); !problem.empty())
    throw Error("NSOSStatusErrorDomain", OSStatus::param, std::move(problem));
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
  return task(std::move(request), detail::TaskPlan::data(std::move(completion)));
}

std::shared_ptr<URLSessionTask> URLSession::downloadTask(URLRequest request, DownloadCompletion completion) {
  return downloadTask(std::move(request), DownloadOptions(), std::move(completion));
}

std::shared_ptr<URLSessionTask> URLSession::downloadTask(URLRequest request, DownloadOptions options,
                                                         DownloadCompletion completion) {
  return task(std::move(request), detail::TaskPlan::download(std::move(options), std::move(completion)));
}

std::shared_ptr<URLSessionTask> URLSession::uploadTask(URLRequest request, DataCompletion completion) {
  return task(std::move(request), detail::TaskPlan::upload(std::nullopt, std::move(completion)));
}

std::shared_ptr<URLSessionTask> URLSession::streamTask(URLRequest request, StreamCompletion completion) {
  return task(std::move(request), detail::TaskPlan::stream(std::move(completion)));
}

std::shared_ptr<URLSessionTask> URLSession::uploadTask(URLRequest request, Data body, DataCompletion completion) {
  request.httpBody = std::move(body);
  request.httpBodyStream.reset();
  return task(std::move(request), detail::TaskPlan::upload(std::nullopt, std::move(completion)));
}

std::shared_ptr<URLSessionTask> URLSession::uploadTask(URLRequest request, const URL& file, DataCompletion completion) {
  request.httpBody.reset();
  request.httpBodyStream.reset();
  return task(std::move(request), detail::TaskPlan::upload(file, std::move(completion)));
}

std::shared_ptr<URLSessionTask> URLSession::task(URLRequest request, detail::TaskPlan plan) {
  return std::make_shared<detail::TaskCore>(shared_from_this(), core_, std::move(request), std::move(plan),
                                            core_->isInvalidated());
}

void URLSession::forgetServerTrust() { networking::TLSContext::forgetEverywhere(); }

void URLSession::finishTasksAndInvalidate() { core_->invalidate(false); }

void URLSession::invalidateAndCancel() { core_->invalidate(true); }

}  // namespace platform
