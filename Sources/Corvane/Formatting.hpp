#pragma once

/// `std::format` for the values that `operator<<` writes, where the standard library has `<format>`: libc++ 17, or
/// libstdc++ of GCC 13. Not part of Corvane.hpp, since `<format>` is large.
///
///     #include <Corvane/Formatting.hpp>
///
///     std::format("{} gave {:>20}", url, response.status);
///
/// The specification after the colon is that of text. `Data` is its bytes, without a check of their encoding.

#include <iosfwd>
#include <string>
#include <string_view>
#include <version>

#ifdef __cpp_lib_format
#include <format>
#endif

#include "Corvane/HTTPStatus.hpp"
#include "Corvane/Request/HTTPByteRange.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/JSON/JSONValue.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Security/SHA256Digest.hpp"

namespace corvane::detail {

/// What the function writes.
CORVANE_API std::string written(void (*write)(std::ostream&, const void*), const void* value);

#ifdef __cpp_lib_format
/// Formats what `operator<<` writes as a text.
template <class Value>
struct StreamFormatter : std::formatter<std::string_view> {
  auto format(const Value& value, auto& context) const {
    const std::string text =
        written([](std::ostream& stream, const void* erased) { stream << *static_cast<const Value*>(erased); }, &value);
    return std::formatter<std::string_view>::format(text, context);
  }
};
#endif

}  // namespace corvane::detail

#ifdef __cpp_lib_format
template <>
struct std::formatter<platform::URL> : corvane::detail::StreamFormatter<platform::URL> {};
template <>
struct std::formatter<platform::Error> : corvane::detail::StreamFormatter<platform::Error> {};
template <>
struct std::formatter<platform::Data> : corvane::detail::StreamFormatter<platform::Data> {};
template <>
struct std::formatter<platform::JSONValue> : corvane::detail::StreamFormatter<platform::JSONValue> {};
template <>
struct std::formatter<platform::SHA256Digest> : corvane::detail::StreamFormatter<platform::SHA256Digest> {};
template <>
struct std::formatter<corvane::HTTPStatus> : corvane::detail::StreamFormatter<corvane::HTTPStatus> {};
template <>
struct std::formatter<corvane::HTTPByteRange> : corvane::detail::StreamFormatter<corvane::HTTPByteRange> {};

#endif
