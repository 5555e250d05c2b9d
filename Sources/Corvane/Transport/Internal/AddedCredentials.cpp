#include "Corvane/Transport/Internal/AddedCredentials.hpp"

#include "Platform/Loading/Internal/RedirectPolicy.hpp"

namespace corvane::detail {

using platform::URLRequest;

AddedCredentials::AddedCredentials(const URLRequest& composed, const URLRequest& received) {
  for (const char* const name : {"Authorization", "Cookie", "Proxy-Authorization"}) {
    auto value = received.allHTTPHeaderFields.value(name);
    if (value && value != composed.allHTTPHeaderFields.value(name)) fields_.emplace_back(name, *std::move(value));
  }
  if (!fields_.empty()) origin_ = received.url;
}

void AddedCredentials::dropElsewhere(URLRequest& request) const {
  if (!origin_ || platform::detail::haveSameOrigin(*origin_, request.url)) return;
  for (const auto& [name, value] : fields_) {
    if (request.allHTTPHeaderFields.value(name) == value) request.allHTTPHeaderFields.remove(name);
  }
}

}  // namespace corvane::detail
