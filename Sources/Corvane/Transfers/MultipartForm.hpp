#pragma once

#include <initializer_list>
#include <utility>
#include <vector>

#include "Corvane/Transfers/BoundaryGenerator.hpp"
#include "Corvane/Transfers/MultipartError.hpp"
#include "Corvane/Transfers/MultipartFormSection.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace corvane {

/// A body of the type "multipart/form-data".
///
///     const MultipartForm form{{"login", "ada"}, {"photo", URL::file("ada.jpeg")}};
class CORVANE_API MultipartForm {
 public:
  MultipartForm() = default;
  /// The sections in their order.
  MultipartForm(std::initializer_list<MultipartFormSection> literal) : sections(literal) {}
  /// The sections, with a custom boundary.
  explicit MultipartForm(std::vector<MultipartFormSection> list, BoundaryGenerator generator = {})
      : sections(std::move(list)), boundaryGeneratory(std::move(generator)) {}

  /// The sections in their order, each after a line with the boundary, and a closing boundary. Reads the files.
  /// Throws what making a section's bytes throws, and `MultipartError` for a section whose bytes hold the
  /// boundary (RFC 2046, 5.1.1): as the process has one boundary for all forms, others may have seen it.
  platform::Data asData() const;

  /// In the order in which they are sent.
  std::vector<MultipartFormSection> sections;
  /// What the boundary comes from.
  BoundaryGenerator boundaryGeneratory;
};

}  // namespace corvane
