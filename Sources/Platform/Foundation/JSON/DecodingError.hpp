#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/JSON/CodingKey.hpp"

namespace platform {

/// A document cannot be decoded to the requested type.
///
/// The message has the path and the problem: "items[3].owner.id: expected an integer, found a string".
class CORVANE_API DecodingError final : public CustomErrorBase<DecodingError> {
 public:
  /// What is wrong.
  enum class Case {
    /// An object lacks a member that the model requires.
    keyNotFound,
    /// A value has another JSON type than the model requires.
    typeMismatch,
    /// A value is null where the model requires one.
    valueNotFound,
    /// The bytes are not JSON (RFC 8259), or a value has the right JSON type but cannot be converted: a number out of
    /// range, or text that is not a URL, base64 or a date.
    dataCorrupted
  };

  /// A position in the document, as a path and as an offset in bytes from its start.
  struct Location {
    /// The path from the document to the value.
    std::vector<CodingKey> codingPath;
    /// In bytes from the start of the document.
    std::size_t byteOffset = 0;
  };

  /// The object at this position lacks the key.
  static DecodingError keyNotFound(std::string key, Location location);
  /// The value at this position has another JSON type; `problem` names the expected and the found type.
  static DecodingError typeMismatch(std::string problem, Location location);
  /// The value at this position is null; `problem` names the expected type.
  static DecodingError valueNotFound(std::string problem, Location location);
  /// The value or the text at this position is invalid; `problem` is the reason.
  static DecodingError dataCorrupted(std::string problem, Location location);

  /// What is wrong.
  Case which() const { return case_; }
  /// The path to the value; for `keyNotFound`, to the object that lacks the key. Empty for the document itself.
  const std::vector<CodingKey>& codingPath() const { return location_.codingPath; }
  /// The offset of the value, or of the place where the text stops being JSON, in bytes from the start of the document.
  std::size_t byteOffset() const { return location_.byteOffset; }
  /// The missing key of `keyNotFound`; empty otherwise.
  const std::string& key() const { return key_; }
  /// The problem, without the path.
  const std::string& problem() const { return problem_; }

  std::string message() const override;
  /// "DecodingError".
  std::string errorDomain() const override;
  /// The ordinal of the case.
  std::int64_t errorCode() const override;
  /// "codingPath", a text, and "byteOffset".
  Dictionary errorUserInfo() const override;

 private:
  DecodingError(Case which, std::string problem, Location location, std::string key = {});

  Case case_;
  std::string problem_;
  Location location_;
  std::string key_;
};

}  // namespace platform
