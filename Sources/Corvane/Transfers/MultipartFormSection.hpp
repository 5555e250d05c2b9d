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
/// Names, content types and file names with a CR, LF or NUL are refused with `MultipartError` when headers or bytes are
/// created: they could inject headers or sections. All other characters of a name or file name are written unchanged.
/// This includes a double quote, which some servers take for the end of the name.
struct CORVANE_API MultipartFormSection {
  /// A value of any type that converts to bytes (`DataRepresentable`).
  MultipartFormSection(std::string sectionName, velisand::AnyDataRepresentable data,
                       std::optional<HTTPMediaType> type = std::nullopt);
  /// A file by `URL`, by path, or by any other `FileRepresentable`. Its type follows from the extension of its name,
  /// unless it is given. The file is read when the bytes of the section are created.
  template <velisand::FileRepresentable File>
  MultipartFormSection(std::string sectionName, const File& file, std::optional<HTTPMediaType> type = std::nullopt)
      : MultipartFormSection(std::move(sectionName), velisand::fileURL(file),
                             type ? type->value() : velisand::mimeType(file), velisand::AnyDataRepresentable(file)) {}

  /// "Content-Disposition" and, if there is a content type, "Content-Type". In every section a line break follows the
  /// name in the disposition; it ends the headers of a plain field. Throws `MultipartError`.
  platform::HTTPHeaderFields headers() const;
  /// The headers and the value, without boundaries. Throws `MultipartError`, and what converting the value or reading
  /// the file throws.
  ///
  /// A plain field has an empty line before its value, as any server expects. A content type is on the line after the
  /// empty line. A file's headers have no empty line after them. Only servers that know this layout read the last two
  /// correctly: see Docs/Decisions/0013-multipart-forms-and-servers.md.
  platform::Data asData() const;

  /// The name of the field.
  std::string name;
  /// The content type of the value; absent: no content type is sent.
  std::optional<std::string> contentType;
  /// The file, or absent. Only its name is sent, not its path.
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
