#include "Platform/Loading/Internal/ContentLength.hpp"

#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

void take(ContentLength& result, std::string_view element) {
  const auto bytes = decimal(element);
  ++result.occurrences;
  if (!bytes) {
    result.kind = ContentLength::Kind::malformed;
  } else if (result.kind == ContentLength::Kind::absent) {
    result.kind = ContentLength::Kind::known;
    result.bytes = *bytes;
  } else if (result.bytes != *bytes) {
    result.kind = ContentLength::Kind::conflicting;
  }
}

}  // namespace

ContentLength ContentLength::of(const HTTPHeaderFields& fields) {
  ContentLength result;
  for (const auto& [name, value] : fields) {
    if (!equalsIgnoringCase(name, "Content-Length")) continue;
    forEachListElement(value, [&](std::string_view element) {
      if (result.kind == Kind::absent || result.kind == Kind::known) take(result, element);
    });
  }
  return result;
}

}  // namespace platform::detail
