#include "Corvane/Transfers/MultipartError.hpp"

#include <string_view>
#include <utility>

namespace corvane {

namespace {

/// For messages: a control character would tear them apart.
std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (const char character : text) {
    switch (character) {
      case '\r':
        result += "\\r";
        break;
      case '\n':
        result += "\\n";
        break;
      case '\0':
        result += "\\0";
        break;
      default:
        result += character;
    }
  }
  return result + '"';
}

}  // namespace

MultipartError::MultipartError(Case which, std::string text, std::string message)
    : case_(which), text_(std::move(text)), message_(std::move(message)) {}

MultipartError MultipartError::controlCharacter(std::string what, std::string text) {
  std::string message = "The " + what + " of a form section holds a line break or a NUL: " + quoted(text);
  return {Case::controlCharacter, std::move(text), std::move(message)};
}

MultipartError MultipartError::boundaryInContent(std::string sectionName) {
  std::string message = "The content of the form section " + quoted(sectionName) + " holds the form's boundary";
  return {Case::boundaryInContent, std::move(sectionName), std::move(message)};
}

MultipartError MultipartError::invalidField(std::string name, const std::string& problem) {
  std::string message = "The header field " + quoted(name) + " of a part of a form cannot be sent: " + problem;
  return {Case::invalidField, std::move(name), std::move(message)};
}

MultipartError MultipartError::invalidBoundary(std::string text) {
  std::string message = "A form cannot have the boundary " + quoted(text) +
                        ": it has 1 to 70 characters, letters, digits, and \"'()+_,-./:=?\"";
  return {Case::invalidBoundary, std::move(text), std::move(message)};
}

std::optional<platform::Dictionary> MultipartError::additionalLogInfo() const {
  return platform::Dictionary{{case_ == Case::boundaryInContent ? "section" : "text", quoted(text_)}};
}

std::string MultipartError::errorDomain() const { return "Corvane.MultipartError"; }

}  // namespace corvane
