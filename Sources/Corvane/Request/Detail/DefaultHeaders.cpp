#include "Corvane/Request/Detail/DefaultHeaders.hpp"

#include <algorithm>
#include <optional>
#include <utility>

#include "Corvane/Request/UserAgent.hpp"
#include "Platform/Detail/Locking.hpp"
#include "Platform/Foundation/AnyValue.hpp"
#include "Platform/Foundation/Locale.hpp"

namespace corvane::detail {

using platform::HTTPHeaderFields;
using platform::detail::Mutex;
using platform::detail::MutexLock;

namespace {

using Languages = std::vector<std::string>;

/// Those that were made last: an application accepts a handful of types.
class MadeHeaders {
 public:
  std::optional<HTTPHeaderFields> find(std::string_view acceptType, const Languages& languages) {
    const MutexLock lock(mutex_);
    if (languages != languages_) return std::nullopt;
    const auto known =
        std::find_if(made_.begin(), made_.end(), [acceptType](const auto& made) { return made.first == acceptType; });
    return known == made_.end() ? std::nullopt : std::optional(known->second);
  }

  void keep(std::string_view acceptType, const Languages& languages, const HTTPHeaderFields& fields) {
    const MutexLock lock(mutex_);
    if (languages != languages_ || made_.size() == mostTypes) made_.clear();
    languages_ = languages;
    made_.emplace_back(acceptType, fields);
  }

 private:
  static constexpr std::size_t mostTypes = 16;

  Mutex mutex_;
  Languages languages_ CORVANE_GUARDED_BY(mutex_);
  std::vector<std::pair<std::string, HTTPHeaderFields>> made_ CORVANE_GUARDED_BY(mutex_);
};

}  // namespace

HTTPHeaderFields defaultHeaders(std::string_view acceptType) {
  static MadeHeaders& made = *new MadeHeaders;
  const Languages languages = platform::Locale::preferredLanguages();
  if (auto known = made.find(acceptType, languages)) return *std::move(known);
  HTTPHeaderFields fields{
      {"Accept", std::string(acceptType)},
      {"User-Agent", userAgent()},
      {"Accept-Language", acceptLanguage(languages)},
      {"Accept-Encoding", "gzip;q=1.0, compress;q=0.5"},
  };
  made.keep(acceptType, languages, fields);
  return fields;
}

std::string acceptLanguage(const std::vector<std::string>& preferredLanguages) {
  constexpr std::size_t mostLanguages = 6;
  std::string value;
  for (std::size_t i = 0; i < std::min(mostLanguages, preferredLanguages.size()); ++i) {
    const double quality = 1.0 - 0.1 * static_cast<double>(i);
    if (i > 0) value += ", ";
    value.append(preferredLanguages[i]).append(";q=").append(platform::AnyValue(quality).description());
  }
  return value;
}

}  // namespace corvane::detail
