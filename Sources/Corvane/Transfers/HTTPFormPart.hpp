#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "Corvane/Request/HTTPBodyProducer.hpp"
#include "Corvane/Request/HTTPMediaType.hpp"
#include "Corvane/Request/StoredRequest.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"
#include "Velisand/AnyDataRepresentable.hpp"
#include "Velisand/FileRepresentable.hpp"

namespace corvane {

/// The options of a part of a form, by name: `{"photo", file, {.fileName = "ada.jpeg"}}`.
///
///     FormDataUploadRequest(url, {{"photo", file, {.contentType = "image/jpeg", .fileName = "ada.jpeg"}}}).send();
struct HTTPFormPartOptions {
  /// Leave it out. It keeps braces without names from being taken for options.
  [[no_unique_address]] detail::ByName byName = detail::ByName();
  /// The "Content-Type" of the part. Absent: none for a value, that of the extension for a file,
  /// "application/octet-stream" for a producer.
  std::optional<HTTPMediaType> contentType = std::nullopt;
  /// The "filename". Absent: none for a value or a producer, the last component of its path for a file. Servers take a
  /// part for a file if it has one.
  std::optional<std::string> fileName = std::nullopt;
  /// Further header fields of the part, in their order.
  platform::HTTPHeaderFields headers = {};
};

/// One part of an `HTTPFormData`: a name, and a value, a file or a producer.
///
///     HTTPFormPart("login", "ada")
///     HTTPFormPart("profile", profile, {.contentType = HTTPMediaType::json})
///     HTTPFormPart("photo", URL::file("ada.jpeg"))
///     HTTPFormPart("log", HTTPBodyProducer(nextLine), {.fileName = "log.txt"})
///
/// The value is converted to bytes at once; a file is only named. An immutable value.
class CORVANE_API HTTPFormPart {
 public:
  /// A value of any type that converts to bytes (`velisand::DataRepresentable`), such as text, bytes, or a model as
  /// JSON. Throws what the conversion throws, and what the other constructors throw.
  HTTPFormPart(std::string name, const velisand::AnyDataRepresentable& value, HTTPFormPartOptions options = {});
  /// A file by `URL`, by path, or by any other `FileRepresentable`, which is read while it is sent. Throws
  /// `MultipartError::invalidField` for a header field that cannot be sent, that is "Content-Disposition", or a second
  /// "Content-Type".
  template <velisand::FileRepresentable File>
  HTTPFormPart(std::string name, const File& file, HTTPFormPartOptions options = {})
      : HTTPFormPart(Made(), std::move(name), velisand::fileURL(file), std::move(options)) {}
  /// What a producer makes while it is sent.
  HTTPFormPart(std::string name, HTTPBodyProducer producer, HTTPFormPartOptions options = {});

  /// The name as it was given.
  const std::string& name() const { return name_; }
  /// The header fields of the part as they are sent, each with its line break. In the disposition, a quote is
  /// `%22`, a CR `%0D` and an LF `%0A`, as browsers write them (HTML, "Multipart form data"); line breaks in the name
  /// become CR LF before.
  const std::string& head() const { return head_; }
  /// The bytes; null for a file and a producer.
  const platform::Data* bytes() const { return std::get_if<platform::Data>(&content_); }
  /// The content as a stream. Throws what opening the file throws: see `HTTPBodyProducer::ofFile`.
  std::shared_ptr<platform::URLBodyStream> bodyStream() const;

 private:
  using Content = std::variant<platform::Data, platform::URL, HTTPBodyProducer>;

  struct Made {};
  HTTPFormPart(Made, std::string name, Content content, HTTPFormPartOptions options);

  std::string name_;
  Content content_;
  std::string head_;
};

}  // namespace corvane
