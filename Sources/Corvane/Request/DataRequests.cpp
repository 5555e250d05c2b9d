#include "Corvane/Request/DataRequests.hpp"

namespace corvane::detail {

platform::URL baseOf(const platform::URL& url) { return url.baseURL().value_or(defaultBaseURL()); }

}  // namespace corvane::detail
