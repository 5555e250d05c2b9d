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

/// A value that stands for a file: a `URL`, a path such as `std::filesystem::path`, and any type with a member
/// `URL fileURL() const`. Text and bytes never name a file.
///
/// As `DataRepresentable`, such a value means the bytes of its file, unless its type has an `asData()`.
template <class T>
concept FileRepresentable = detail::NamesFile<T>;

/// A type that can be made from a file: `URL` and paths keep the place of the file; every `DataInitializable` type is
/// made of the file's bytes; any other class with a constructor that takes a `URL` decides itself what to do
/// with the file. Making the value may throw.
template <class T>
concept FileInitializable = detail::FileName<T> || DataInitializable<T> || detail::TakesFile<T>;

/// Where the file of a value is. A relative path is taken from the current directory, as it is now.
template <FileRepresentable T>
platform::URL fileURL(const T& file) {
  return detail::locationOf(file);
}

/// The MIME type that the extension of the file's name stands for; "application/octet-stream" when there is none or it
/// is not known. The file is not looked at.
template <FileRepresentable T>
std::string mimeType(const T& file) {
  return detail::mimeTypeOf(fileURL(file));
}

/// The value that a file stands for. Blocks while it reads the file, where the type is made of bytes. Throws what
/// reading the file or making the value throws; an `Error` for a URL that is no file URL, where its file or
/// path is wanted.
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
