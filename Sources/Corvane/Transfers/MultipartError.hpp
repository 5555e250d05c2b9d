#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Vantorel/ErrorLoggable.hpp"
#include "Velisand/AppError.hpp"

namespace corvane {

/// A form cannot be written, as its reader would take what is in it for a header or a section of its own. Nothing
/// was sent.
class CORVANE_API MultipartError final : public velisand::AppError<MultipartError>, public vantorel::ErrorLoggable {
 public:
  /// What is wrong with the form.
  enum class Case { controlCharacter, boundaryInContent };

  /// A name, a content type or a file name holds a line break or a NUL; `what` tells which of them.
  static MultipartError controlCharacter(std::string what, std::string text);
  /// The bytes of the section of that name hold the boundary.
  static MultipartError boundaryInContent(std::string sectionName);

  /// What is wrong with the form.
  Case which() const { return case_; }
  /// The text with the control character, or the name of the section with the boundary.
  const std::string& text() const { return text_; }

  std::string message() const override { return message_; }
  /// "Corvane.MultipartError".
  std::string errorDomain() const override;
  /// The ordinal of the case.
  std::int64_t errorCode() const override { return static_cast<std::int64_t>(case_); }
  /// The text or the section's name.
  std::optional<platform::Dictionary> additionalLogInfo() const override;

 private:
  MultipartError(Case which, std::string text, std::string message);

  Case case_;
  std::string text_;
  std::string message_;
};

}  // namespace corvane
