#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Corvane/Request/HTTPMediaType.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"
#include "Velisand/AnyDataRepresentable.hpp"
#include "Velisand/FileRepresentable.hpp"

namespace corvane {

/// One field of a multipart form: a name, and a value or a file.
///
///     MultipartFormSection("login", "ada")
///     MultipartFormSection("profile", profile, HTTPMediaType::json)
///     MultipartFormSection("photo", URL::file("ada.jpeg"))
///
/// Names, content types and file names with a CR, LF or NUL are refused with `MultipartError` when headers or bytes
/// are made: they could pass for headers or sections that the program did not write. All else in a
/// name or file name is written as it is, a double quote included, by which some servers take the name to end.
struct CORVANE_API MultipartFormSection {
  /// A value of any type that has a form in bytes.
  MultipartFormSection(std::string sectionName, velisand::AnyDataRepresentable data,
                       std::optional<HTTPMediaType> type = std::nullopt);
  /// A file by `URL`, by path, or by any other `FileRepresentable`. Its type follows from its name, unless one is
  /// given. It is read when the bytes of the section are made.
  template <velisand::FileRepresentable File>
  MultipartFormSection(std::string sectionName, const File& file, std::optional<HTTPMediaType> type = std::nullopt)
      : MultipartFormSection(std::move(sectionName), velisand::fileURL(file),
                             type ? type->value() : velisand::mimeType(file), velisand::AnyDataRepresentable(file)) {}

  /// "Content-Disposition" and, if there is a content type, "Content-Type". The disposition of every section
  /// holds a line break, after the name: that is the one that ends the headers of a plain field. Throws
  /// `MultipartError`.
  platform::HTTPHeaderFields headers() const;
  /// The headers and the value, without boundaries. Throws `MultipartError`, and what making the value's bytes or
  /// reading the file throws.
  ///
  /// A plain field has an empty line before its value, as any server expects. With a content type, that line follows
  /// the empty one; a file's headers have no empty line after them. Only servers that know this layout read those
  /// two right: Docs/Decisions/0013-multipart-forms-and-servers.md.
  platform::Data asData() const;

  /// The name of the field.
  std::string name;
  /// The type of the value; absent: none is sent.
  std::optional<std::string> contentType;
  /// Only its name is sent.
  std::optional<platform::URL> fileURL;
  /// The value, or the content of the file.
  velisand::AnyDataRepresentable dataRepresentable;

 private:
  MultipartFormSection(std::string sectionName, platform::URL file, std::string type,
                       velisand::AnyDataRepresentable data);
};

/// The bytes of a list of sections: those of a `MultipartForm`.
CORVANE_API platform::Data dataRepresentation(const std::vector<MultipartFormSection>& sections);

namespace detail {
/// The header lines of a section.
std::string headerLines(const MultipartFormSection& section);
}  // namespace detail

}  // namespace corvane
