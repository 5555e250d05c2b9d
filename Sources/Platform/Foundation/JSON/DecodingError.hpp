#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/JSON/CodingKey.hpp"

namespace platform {

/// A document does not hold what was to be decoded from it.
///
/// The message says where and what: "items[3].owner.id: expected an integer, found a string".
class CORVANE_API DecodingError final : public CustomErrorBase<DecodingError> {
 public:
  /// What is wrong.
  enum class Case {
    /// An object lacks a member that the model requires.
    keyNotFound,
    /// A value is of another kind than the model's.
    typeMismatch,
    /// There is null where the model requires a value.
    valueNotFound,
    /// The bytes are not JSON (RFC 8259), or a value is of the right kind but cannot be what the model asks
    /// for: a number out of range, text that is no URL, base64 or date.
    dataCorrupted
  };

  /// Where in the document, as a path and as an offset in bytes from its start.
  struct Location {
    /// The way from the document to the value.
    std::vector<CodingKey> codingPath;
    /// In bytes from the start of the document.
    std::size_t byteOffset = 0;
  };

  /// The object at that place lacks the key.
  static DecodingError keyNotFound(std::string key, Location location);
  /// A value of another kind stands there; `problem` says what was expected and what was found.
  static DecodingError typeMismatch(std::string problem, Location location);
  /// A null stands there; `problem` says what was expected.
  static DecodingError valueNotFound(std::string problem, Location location);
  /// `problem` says what is wrong there.
  static DecodingError dataCorrupted(std::string problem, Location location);

  /// What is wrong.
  Case which() const { return case_; }
  /// The way to the value; of `keyNotFound`, to the object that lacks the key. Empty for the document itself.
  const std::vector<CodingKey>& codingPath() const { return location_.codingPath; }
  /// In bytes from the start of the document: where the value starts, or where the text stops being JSON.
  std::size_t byteOffset() const { return location_.byteOffset; }
  /// The missing key of `keyNotFound`; empty otherwise.
  const std::string& key() const { return key_; }
  /// What is wrong, without the path.
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
