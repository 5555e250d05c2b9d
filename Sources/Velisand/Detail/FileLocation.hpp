#pragma once

#include <concepts>
#include <string>
#include <type_traits>

#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"

/// Which types name a file, and which one. See `FileRepresentable.hpp`.

namespace velisand::detail {

template <class T>
concept OffersFile =
    requires(const T& value) { requires std::same_as<std::remove_cvref_t<decltype(value.fileURL())>, platform::URL>; };

/// `std::filesystem::path` and its like, told by what they offer, so that their headers are not needed.
template <class T>
concept PathLike = requires(const T& path) {
  { path.native() } -> std::convertible_to<std::string>;
  { path.filename() } -> std::same_as<T>;
  requires std::constructible_from<T, std::string>;
};

/// Types whose values are nothing but the place of a file.
template <class T>
concept FileName = std::same_as<T, platform::URL> || PathLike<T>;

template <class T>
concept NamesFile = FileName<T> || OffersFile<T>;

template <NamesFile T>
platform::URL locationOf(const T& file) {
  if constexpr (OffersFile<T>) {
    return file.fileURL();
  } else if constexpr (PathLike<T>) {
    return platform::URL::file(std::string(file.native()));
  } else {
    return file;
  }
}

/// Throws an `Error` in the domain "NSCocoaErrorDomain" for a URL that is no file URL.
CORVANE_API std::string pathOf(const platform::URL& file);

}  // namespace velisand::detail
