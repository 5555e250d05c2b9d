#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/JSON/CodingKey.hpp"

namespace platform {

/// A value cannot be written as JSON: a number that is infinite or not a number, text that is not UTF-8, a
/// date without a strategy, or more than 512 levels of nesting.
///
/// The message has the path and the problem: "items[3].price: JSON has no number for infinity".
class CORVANE_API EncodingError final : public CustomErrorBase<EncodingError> {
 public:
  /// An error with this problem, at this path.
  EncodingError(std::string problem, std::vector<CodingKey> codingPath);

  /// The path to the value; empty for the encoded value itself.
  const std::vector<CodingKey>& codingPath() const { return codingPath_; }
  /// The problem, without the path.
  const std::string& problem() const { return problem_; }

  std::string message() const override;
  /// "EncodingError".
  std::string errorDomain() const override;
  /// "codingPath", a text.
  Dictionary errorUserInfo() const override;

 private:
  std::string problem_;
  std::vector<CodingKey> codingPath_;
};

}  // namespace platform
