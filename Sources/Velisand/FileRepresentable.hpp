#pragma once

#include <concepts>
#include <string>
#include <type_traits>
#include <utility>

#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Velisand/DataRepresentable.hpp"
#include "Velisand/Detail/FileLocation.hpp"

namespace velisand {

namespace detail {
// A plain struct whose first member is a URL is not made of a file for that.
template <class T>
concept TakesFile = std::constructible_from<T, platform::URL> && !std::is_aggregate_v<T>;

CORVANE_API std::string mimeTypeOf(const platform::URL& file);
}  // namespace detail

/// A value that names a file: a `URL`, a path such as `std::filesystem::path`, and any type with a member `URL
/// fileURL() const`. Text and bytes never name a file.
///
/// As a `DataRepresentable`, such a value converts to the bytes of its file, unless its type has an `asData()`.
template <class T>
concept FileRepresentable = detail::NamesFile<T>;

/// A type that can be constructed from a file: `URL` and paths hold its location; every `DataInitializable` type is
/// constructed from its bytes; any other class with a constructor that takes a `URL` decides itself how to use the
/// file. The construction may throw.
template <class T>
concept FileInitializable = detail::FileName<T> || DataInitializable<T> || detail::TakesFile<T>;

/// The URL of a value's file. A relative path is resolved against the current directory of this moment.
template <FileRepresentable T>
platform::URL fileURL(const T& file) {
  return detail::locationOf(file);
}

/// The MIME type of the file name's extension; "application/octet-stream" for a missing or unknown extension. The file
/// is not read.
template <FileRepresentable T>
std::string mimeType(const T& file) {
  return detail::mimeTypeOf(fileURL(file));
}

/// The value constructed from a file. Blocks while it reads the file, if the type is constructed from bytes. Throws
/// what reading the file or constructing the value throws, and an `Error` for a URL that is not a file URL where a file
/// or path is needed.
template <FileInitializable T>
T fromFile(const platform::URL& file) {
  if constexpr (detail::PathLike<T>) {
    return T(detail::pathOf(file));
  } else if constexpr (detail::FileName<T>) {
    return file;
  } else if constexpr (DataInitializable<T>) {
    return fromData<T>(detail::contentsOf(file));
  } else {
    return T(file);
  }
}

}  // namespace velisand
