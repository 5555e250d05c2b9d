#pragma once

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/JSON/JSONCodec.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Foundation/UUID.hpp"

namespace platform {

/// Base64 with padding and without line breaks (RFC 4648, 4).
template <>
struct CORVANE_API JSONCodec<Data> {
  static constexpr JSONKind kind = JSONKind::string;
  static Data decode(JSONReader& reader);
  static void encode(const Data& data, JSONWriter& writer);
};

/// The text as it was given.
template <>
struct CORVANE_API JSONCodec<URL> {
  static constexpr JSONKind kind = JSONKind::string;
  static URL decode(JSONReader& reader);
  static void encode(const URL& url, JSONWriter& writer);
  static URL placeholder();
};

template <>
struct CORVANE_API JSONCodec<UUID> {
  static constexpr JSONKind kind = JSONKind::string;
  static UUID decode(JSONReader& reader);
  static void encode(const UUID& uuid, JSONWriter& writer);
};

}  // namespace platform
