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
/// The message says where and what: "items[3].price: JSON has no number for infinity".
class CORVANE_API EncodingError final : public CustomErrorBase<EncodingError> {
 public:
  /// What is wrong, and the way to it.
  EncodingError(std::string problem, std::vector<CodingKey> codingPath);

  /// The way to the value; empty for the value that was to be encoded itself.
  const std::vector<CodingKey>& codingPath() const { return codingPath_; }
  /// What is wrong, without the path.
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
