#include "Platform/Loading/Internal/Caching/HTTPCacheStore.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

std::string cacheKey(const networking::Origin& origin, std::string_view target, std::string_view ownHost) {
  std::string key = origin.isSecure ? "https://" : "http://";
  key.append(origin.host).append(":").append(std::to_string(origin.port));
  // No value holds a line break, and no target begins with one.
  if (!ownHost.empty()) key.append("\n").append(lowercased(ownHost)).append("\n");
  key.append(target);
  return key;
}

HTTPCacheStore::Response HTTPCacheStore::find(const std::string& key, RequestFields request) {
  const auto found = index_.find(key);
  if (found == index_.end()) return nullptr;
  Variants& variants = found->second;
  const auto variant = std::find_if(variants.rbegin(), variants.rend(),
                                    [&](Entries::iterator entry) { return entry->response->isFor(request); });
  if (variant == variants.rend()) return nullptr;
  entries_.splice(entries_.begin(), entries_, *variant);
  return (*variant)->response;
}

void HTTPCacheStore::put(const std::string& key, Response response, RequestFields request) {
  const std::size_t bytes = bytesOf(key, response);
  if (bytes > longest()) return supersede(key, request);
  remove(key, request);
  // Made aside: where memory runs out, nothing has changed.
  Entries entry;
  entry.push_front({.key = nullptr, .response = std::move(response), .bytes = bytes});
  Variants variant = {entry.begin()};
  const auto found = index_.try_emplace(key).first;
  Variants& variants = found->second;
  entry.front().key = &found->first;
  entries_.splice(entries_.begin(), entry);
  variants.splice(variants.end(), variant);
  bytes_ += bytes;
  if (variants.size() > variantLimit) erase(found, variants.begin());
  makeRoom();
}

void HTTPCacheStore::replace(const std::string& key, const Response& before, Response after) {
  const auto found = index_.find(key);
  if (found == index_.end()) return;
  Variants& variants = found->second;
  const auto variant = std::find_if(variants.begin(), variants.end(),
                                    [&](Entries::iterator entry) { return entry->response == before; });
  if (variant == variants.end()) return;
  Entry& entry = **variant;
  bytes_ -= entry.bytes;
  entry.bytes = bytesOf(key, after);
  entry.response = std::move(after);
  bytes_ += entry.bytes;
  variants.splice(variants.end(), variants, variant);
  makeRoom();
}

void HTTPCacheStore::remove(const std::string& key, RequestFields request) {
  const auto found = index_.find(key);
  if (found == index_.end()) return;
  Variants& variants = found->second;
  for (auto variant = variants.begin(); variant != variants.end();) {
    const auto next = std::next(variant);
    const bool isLast = variants.size() == 1;
    if ((*variant)->response->isFor(request)) {
      erase(found, variant);
      if (isLast) return;
    }
    variant = next;
  }
}

bool HTTPCacheStore::hasNewer(const std::string& key, RequestFields request, networking::TimePoint requested) const {
  const auto found = index_.find(key);
  if (found == index_.end()) return false;
  return std::any_of(found->second.begin(), found->second.end(), [&](Entries::iterator entry) {
    return entry->response->requested() > requested && entry->response->isFor(request);
  });
}

void HTTPCacheStore::removeAll(const std::string& key) {
  const auto found = index_.find(key);
  if (found == index_.end()) return;
  for (const Entries::iterator entry : found->second) {
    bytes_ -= entry->bytes;
    entries_.erase(entry);
  }
  index_.erase(found);
}

/// With its URL, where it is the last one of it.
void HTTPCacheStore::erase(Index::iterator found, Variants::iterator variant) {
  bytes_ -= (*variant)->bytes;
  entries_.erase(*variant);
  found->second.erase(variant);
  if (found->second.empty()) index_.erase(found);
}

void HTTPCacheStore::makeRoom() {
  while (bytes_ > capacity_) {
    const auto oldest = std::prev(entries_.end());
    const auto found = index_.find(*oldest->key);
    erase(found, std::find(found->second.begin(), found->second.end(), oldest));
  }
}

std::size_t HTTPCacheStore::bytesOf(const std::string& key, const Response& response) {
  return response->bytes() + key.size();
}

}  // namespace platform::detail
