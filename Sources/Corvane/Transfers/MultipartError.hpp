#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Vantorel/ErrorLoggable.hpp"
#include "Velisand/AppError.hpp"

namespace corvane {

/// A form cannot be written, since a server would read a part of its content as a header or a section. Nothing was
/// sent.
///
///     const auto* problem = error.as<MultipartError>();
///     if (problem && problem->which() == MultipartError::Case::boundaryInContent) report(problem->text());
class CORVANE_API MultipartError final : public velisand::AppError<MultipartError>, public vantorel::ErrorLoggable {
 public:
  /// What is wrong with the form.
  enum class Case { controlCharacter, boundaryInContent, invalidField, invalidBoundary };

  /// A name, a content type or a file name contains a line break or a NUL; `what` names which of them.
  static MultipartError controlCharacter(std::string what, std::string text);
  /// The bytes of the section with that name contain the boundary.
  static MultipartError boundaryInContent(std::string sectionName);
  /// A header field of a part of an `HTTPFormData` cannot be sent; `problem` is a sentence that says why.
  static MultipartError invalidField(std::string name, const std::string& problem);
  /// The text is no boundary (RFC 2046, 5.1.1).
  static MultipartError invalidBoundary(std::string text);

  /// What is wrong with the form.
  Case which() const { return case_; }
  /// The text with the control character, the name of the section with the boundary, the name of the field, or what is
  /// no boundary.
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
