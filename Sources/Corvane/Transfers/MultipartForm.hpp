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
  MultipartForm(std::initializer_list<MultipartFormSection> literal);
  /// The sections, with a custom boundary.
  explicit MultipartForm(std::vector<MultipartFormSection> list, BoundaryGenerator generator = {});

  /// The sections in their order, each after a line with the boundary, and a closing boundary. Reads the files. Throws
  /// what the conversion of a section to bytes throws, and `MultipartError` for a section that contains the boundary
  /// (RFC 2046, 5.1.1): the process has one boundary for all forms, so other servers may know it.
  platform::Data asData() const;

  /// In the order in which they are sent.
  std::vector<MultipartFormSection> sections;
  /// The source of the boundary.
  BoundaryGenerator boundaryGeneratory;
};

}  // namespace corvane
