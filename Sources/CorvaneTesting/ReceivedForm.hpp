#pragma once

#include <optional>
#include <string>
#include <vector>

#include "CorvaneTesting/ReceivedRequest.hpp"

namespace corvane::testing {

/// A section of a multipart form as it arrived.
struct ReceivedSection {
  std::string name;
  std::optional<std::string> fileName;
  std::optional<std::string> contentType;
  std::string content;
};

/// The sections of a form in the layout that `corvane::MultipartForm` writes, which is not quite the usual one: in a
/// file section no empty line stands before the content, and the type of any other stands behind its empty line.
/// Throws `std::runtime_error` for a body that is no such form.
std::vector<ReceivedSection> formSections(const ReceivedRequest& request);

}  // namespace corvane::testing
