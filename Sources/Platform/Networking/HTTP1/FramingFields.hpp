#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform::networking {

/// What the fields of one response's head say about where its body ends and what becomes of the connection.
///
/// A Content-Length is digits, and the same wherever it is said (RFC 9112, 6.3); a Transfer-Encoding is "chunked" and
/// nothing else, since no other was asked for.
class FramingFields {
 public:
  /// What is to be done with a field that was taken.
  enum class Use : std::uint8_t {
    keep,
    length,          ///< it says the length for the first time
    dropRepetition,  ///< it says the length once more
    refuse           ///< `problem()` says why
  };

  void reset();
  /// Looks at a field. `value` becomes the plain number where it is a length ("05, 5" is 5).
  Use take(std::string_view name, std::string_view& value);
  const std::string& problem() const { return problem_; }

  bool isChunked() const { return isChunked_; }
  bool hasLength() const { return length_ >= 0; }
  std::int64_t length() const { return length_; }
  bool saysClose() const { return saysClose_; }
  bool saysKeepAlive() const { return saysKeepAlive_; }

 private:
  Use refuse(std::string problem);
  Use takeLength(std::string_view& value);
  Use takeTransferEncoding(std::string_view value);
  void takeConnection(std::string_view value);

  std::int64_t length_ = -1;
  bool isChunked_ = false;
  bool saysClose_ = false;
  bool saysKeepAlive_ = false;
  std::string problem_;
};

}  // namespace platform::networking
