#pragma once

#include <concepts>
#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Platform/Foundation/Data.hpp"
#include "Velisand/Detail/FileLocation.hpp"
#include "Velisand/JSONCodable.hpp"

namespace velisand {

namespace detail {
template <class T>
concept OffersData = requires(const T& value) {
  { value.asData() } -> std::convertible_to<platform::Data>;
};
// For types that get their bytes from a function beside them, as lists of foreign types must.
template <class T>
concept HasDataRepresentation = requires(const T& value) {
  { dataRepresentation(value) } -> std::convertible_to<platform::Data>;
};
template <class T>
concept PlainBytes =
    std::same_as<T, platform::Data> || std::same_as<T, std::string> || std::same_as<T, std::vector<std::byte>>;
// A plain struct whose first member takes bytes is not made of bytes for that.
template <class T>
concept TakesData = std::constructible_from<T, platform::Data> && !std::is_aggregate_v<T>;
}  // namespace detail

/// A value that converts to bytes. The conversion may throw. The first of these that applies is used:
/// - any type with a member `asData()`, or a function `Data dataRepresentation(const T&)` in its namespace;
/// - `Data`, `std::string` and `std::vector<std::byte>` as they are;
/// - a value that names a file (see `FileRepresentable`) as the bytes of that file;
/// - any other `JSONEncodable` type as JSON.
template <class T>
concept DataRepresentable = detail::OffersData<T> || detail::HasDataRepresentation<T> || detail::PlainBytes<T> ||
                            detail::NamesFile<T> || JSONEncodable<T>;

/// A type that can be constructed from bytes: `Data`, `std::string` and `std::vector<std::byte>` with the bytes as they
/// are, any type with a constructor that takes a `Data`, and any other `JSONDecodable` type from JSON. A `URL` or a
/// path does not count: it names a file. The conversion may throw.
template <class T>
concept DataInitializable = !detail::FileName<T> && (detail::PlainBytes<T> || detail::TakesData<T> || JSONDecodable<T>);

/// A type whose bytes are JSON.
template <class T>
concept RepresentedByJSON = JSONEncodable<T> && !detail::OffersData<T> && !detail::HasDataRepresentation<T> &&
                            !detail::PlainBytes<T> && !detail::NamesFile<T>;

/// The bytes of a value. A `Data` shares its bytes, other types copy them. Reading a file blocks.
template <DataRepresentable T>
platform::Data asData(const T& value) {
  if constexpr (detail::OffersData<T>) {
    return value.asData();
  } else if constexpr (detail::HasDataRepresentation<T>) {
    return dataRepresentation(value);
  } else if constexpr (std::same_as<T, std::vector<std::byte>>) {
    return platform::Data(value.data(), value.size());
  } else if constexpr (detail::PlainBytes<T>) {
    return platform::Data(value);
  } else if constexpr (detail::NamesFile<T>) {
    return detail::contentsOf(detail::locationOf(value));
  } else {
    return asJSON(value);
  }
}

/// The value constructed from the bytes.
template <DataInitializable T>
T fromData(platform::Data data) {
  if constexpr (std::same_as<T, std::string>) {
    return data.text();
  } else if constexpr (std::same_as<T, std::vector<std::byte>>) {
    return std::vector<std::byte>(data.begin(), data.end());
  } else if constexpr (detail::PlainBytes<T> || detail::TakesData<T>) {
    return T(std::move(data));
  } else {
    return fromJSON<T>(data);
  }
}

}  // namespace velisand
