#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Platform/Foundation/Internal/PercentEncoding.hpp"
#include "Platform/Foundation/Internal/URLLayout.hpp"

namespace platform::detail {

/// Reads a URI reference by the grammar of RFC 3986, appendix A, in one pass.
///
/// Boost.URL 1.81 is not used: it ends the host of "http://1.2.3.4.example/" after the four numbers.
class URLParser {
 public:
  enum class Characters : std::uint8_t {
    ascii,
    /// As in an IRI (RFC 3987): where a letter may stand, any byte outside of ASCII may.
    all
  };

  explicit URLParser(std::string_view text, Characters characters = Characters::ascii)
      : text_(text), characters_(characters) {}

  /// False when the text is not a URI reference; `problem()` then tells why.
  bool parse();
  const URLLayout& layout() const { return layout_; }
  /// Without the text itself, e.g. "character ' ' at position 2 must be percent-encoded".
  std::string problem() const;

 private:
  enum class Fault : std::uint8_t { none, empty, tooLong, character, address, portNumber };

  /// Whether the character that is next may stand there as it is.
  bool mayStand(CharacterSet set) const;
  bool parseScheme();
  bool parseAuthority();
  bool parseUserInformation(std::size_t end);
  bool parseHost(std::size_t end);
  bool parseAddress(std::size_t end);
  bool parsePort(std::size_t end);
  /// Takes the rest up to one of `stops` as a component whose characters are all of `set`.
  bool parseComponent(URLRange& range, CharacterSet set, std::string_view stops, const char* name);
  /// Takes all up to `end`.
  bool take(URLRange& range, std::size_t end, CharacterSet set, const char* name);
  std::size_t find(std::string_view characters) const;
  bool fail(Fault fault, std::size_t position, const char* component);
  std::string characterProblem() const;

  std::string_view text_;
  Characters characters_;
  std::size_t position_ = 0;
  URLLayout layout_;
  Fault fault_ = Fault::none;
  std::size_t faultPosition_ = 0;
  const char* faultComponent_ = "";
};

}  // namespace platform::detail
