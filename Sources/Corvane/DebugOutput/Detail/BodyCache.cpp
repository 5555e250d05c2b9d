#include "Corvane/DebugOutput/Detail/BodyCache.hpp"

#include <algorithm>

#include "Corvane/Settings.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchSource.hpp"
#include "Platform/Foundation/ObjectCache.hpp"
#include "Platform/Foundation/UUID.hpp"

namespace corvane {
namespace detail {

using platform::Data;
using platform::DispatchMemoryPressureSource;
using platform::DispatchQueue;
using platform::MemoryPressure;
using platform::ObjectCache;

namespace {

constexpr std::size_t charactersShownAsTheyAre = 80;

// Made on first use; emptied when memory gets short.
class BodyCache {
 public:
  static BodyCache& shared() {
    static BodyCache& cache = *new BodyCache;
    return cache;
  }

  ObjectCache bodies{std::size_t{64} << 20};

 private:
  BodyCache() {
    memoryPressureSource_.setEventHandler([this](MemoryPressure) { bodies.removeAll(); });
    memoryPressureSource_.activate();
  }

  const DispatchMemoryPressureSource memoryPressureSource_{DispatchQueue::global(),
                                                           {MemoryPressure::warning, MemoryPressure::critical}};
};

std::size_t characterCount(std::string_view text) {
  const auto startsCharacter = [](char unit) { return (static_cast<unsigned char>(unit) & 0xC0u) != 0x80u; };
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), startsCharacter));
}

std::string cachedSummary(std::size_t count, std::string_view unit, const Data& body) {
  return "[" + std::to_string(count) + " " + std::string(unit) + ": Corvane.httpDebugData(\"" + cacheBody(body) +
         "\")]";
}

}  // namespace

std::string cacheBody(const Data& body) {
  std::string key = platform::UUID().uuidString();
  BodyCache::shared().bodies.setObject(body, key);
  return key;
}

std::optional<Data> cachedBody(std::string_view key) { return BodyCache::shared().bodies.object(key); }

std::string httpDebugSummary(const std::optional<Data>& body) {
  if (!body || body->isEmpty()) return "0 bytes";
  if (body->count() <= mostBytesShown) {
    if (auto text = body->utf8()) return *std::move(text);
  }
  return cachedSummary(body->count(), "bytes", *body);
}

std::string httpDebugSummary(const std::optional<std::string>& text) {
  if (!text) return "0 chars";
  const std::size_t count = characterCount(*text);
  return count <= charactersShownAsTheyAre ? *text : cachedSummary(count, "chars", Data(*text));
}

}  // namespace detail

std::optional<platform::AnyValue> Corvane::httpDebugData(std::string_view key) {
  const auto body = detail::cachedBody(key);
  if (!body) return std::nullopt;
  if (auto text = body->utf8()) return platform::AnyValue(*std::move(text));
  return platform::AnyValue(*body);
}

}  // namespace corvane
