#include "Platform/Foundation/Dictionary.hpp"

#include <algorithm>

namespace platform {

namespace {

template <class Entries>
auto position(Entries& entries, std::string_view key) {
  return std::find_if(entries.begin(), entries.end(), [&](const auto& entry) { return entry.first == key; });
}

}  // namespace

Dictionary::Dictionary(std::initializer_list<Entry> entries) {
  entries_.reserve(entries.size());
  for (const auto& [key, value] : entries) set(key, value);
}

const AnyValue* Dictionary::find(std::string_view key) const {
  const auto entry = position(entries_, key);
  return entry != entries_.end() ? &entry->second : nullptr;
}

void Dictionary::set(std::string key, AnyValue value) {
  const auto entry = position(entries_, key);
  if (entry != entries_.end()) {
    entry->second = std::move(value);
  } else {
    entries_.emplace_back(std::move(key), std::move(value));
  }
}

AnyValue& Dictionary::operator[](std::string_view key) {
  const auto entry = position(entries_, key);
  if (entry != entries_.end()) return entry->second;
  return entries_.emplace_back(std::string(key), AnyValue()).second;
}

bool Dictionary::remove(std::string_view key) {
  const auto entry = position(entries_, key);
  if (entry == entries_.end()) return false;
  entries_.erase(entry);
  return true;
}

void Dictionary::merge(const Dictionary& other) {
  if (this == &other) return;
  for (const auto& [key, value] : other) set(key, value);
}

bool operator==(const Dictionary& left, const Dictionary& right) {
  if (left.count() != right.count()) return false;
  return std::all_of(left.begin(), left.end(), [&](const auto& entry) {
    const AnyValue* other = right.find(entry.first);
    return other != nullptr && entry.second == *other;
  });
}

}  // namespace platform
