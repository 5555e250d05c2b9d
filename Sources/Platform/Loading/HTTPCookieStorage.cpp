#include "Platform/Loading/HTTPCookieStorage.hpp"

#include <utility>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/Internal/CookieJar.hpp"
#include "Platform/Loading/Internal/RequestTarget.hpp"
#include "Platform/Networking/HTTPText.hpp"
#include "Platform/Security/SecTrust.hpp"

namespace platform {

struct HTTPCookieStorage::State {
  detail::Mutex mutex;
  detail::CookieJar jar CORVANE_GUARDED_BY(mutex);
};

HTTPCookieStorage::HTTPCookieStorage() : state_(std::make_unique<State>()) {}
HTTPCookieStorage::~HTTPCookieStorage() = default;

std::vector<HTTPCookie> HTTPCookieStorage::cookies() const {
  const detail::MutexLock lock(state_->mutex);
  return state_->jar.cookies();
}

std::vector<HTTPCookie> HTTPCookieStorage::cookies(const URL& url) const {
  detail::RequestTarget target;
  if (!target.set(url)) return {};
  const detail::MutexLock lock(state_->mutex);
  return state_->jar.cookies(target.route().origin, target.target());
}

void HTTPCookieStorage::set(HTTPCookie cookie) {
  cookie.domain = detail::lowercased(cookie.domain);
  if (std::string problem = cookie.problem(); !problem.empty())
    throw Error("NSOSStatusErrorDomain", OSStatus::param, std::move(problem));
  const detail::MutexLock lock(state_->mutex);
  state_->jar.insert(std::move(cookie), true);
}

bool HTTPCookieStorage::remove(const HTTPCookie& cookie) {
  const detail::MutexLock lock(state_->mutex);
  return state_->jar.remove(cookie);
}

void HTTPCookieStorage::removeAll() {
  const detail::MutexLock lock(state_->mutex);
  state_->jar = {};
}

void HTTPCookieStorage::appendTo(std::string& out, const detail::RequestTarget& target) {
  const detail::MutexLock lock(state_->mutex);
  state_->jar.appendTo(out, target.route().origin, target.target());
}

void HTTPCookieStorage::store(std::string_view field, const detail::RequestTarget& target) {
  const detail::MutexLock lock(state_->mutex);
  state_->jar.store(field, target.route().origin, target.target());
}

}  // namespace platform
