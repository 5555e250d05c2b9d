#pragma once

#include <optional>
#include <string>
#include <vector>

#include "CorvaneTesting/ReceivedRequest.hpp"

namespace corvane::testkit {

/// A section of a multipart form as it arrived.
struct ReceivedSection {
  /// The "name" of its disposition.
  std::string name;
  /// The "filename" of its disposition; absent for a plain field.
  std::optional<std::string> fileName;
  /// The "Content-Type" of the section; absent when it has none.
  std::optional<std::string> contentType;
  /// The bytes between the section's headers and the next boundary.
  std::string content;
};

/// The sections of a form in the layout that `corvane::MultipartForm` writes. It differs from RFC 7578: a file section
/// has no empty line before the content, and the type of any other section follows its empty line. Throws
/// `std::runtime_error` for a body that is not such a form.
std::vector<ReceivedSection> formSections(const ReceivedRequest& request);

}  // namespace corvane::testkit
