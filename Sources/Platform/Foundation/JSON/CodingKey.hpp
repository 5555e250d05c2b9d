#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "Platform/Export.hpp"

namespace platform {

/// A step from a document to a value in it: the key of a member of an object, or the index of an element of
/// an array.
///
///     for (const CodingKey& key : error.codingPath()) {
///       key.index() ? std::printf("[%zu]", *key.index()) : std::printf(".%s", key.name().c_str());
///     }
class CORVANE_API CodingKey {
 public:
  /// The key of a member.
  explicit CodingKey(std::string name) : name_(std::move(name)) {}
  /// The index of an element, from 0.
  explicit CodingKey(std::size_t index) : index_(index) {}

  /// Empty for an index.
  const std::string& name() const { return name_; }
  /// Absent for a key.
  std::optional<std::size_t> index() const { return index_; }

  friend bool operator==(const CodingKey&, const CodingKey&) = default;

 private:
  std::string name_;
  std::optional<std::size_t> index_;
};

/// The path in the notation of code: "items[3].owner.id". Keys that are not identifiers are in brackets and quotes:
/// `headers["Content-Type"]`.
CORVANE_API std::string description(std::span<const CodingKey> path);

}  // namespace platform
