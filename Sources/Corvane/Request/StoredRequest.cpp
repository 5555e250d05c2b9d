#include "Corvane/Request/StoredRequest.hpp"

namespace corvane {

platform::URL detail::baseOf(const platform::URL& url) { return url.baseURL().value_or(defaultBaseURL()); }

}  // namespace corvane
