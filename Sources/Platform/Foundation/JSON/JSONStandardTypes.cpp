#include "Platform/Foundation/JSON/JSONStandardTypes.hpp"

#include <optional>
#include <string>

#include "Platform/Foundation/JSON/Internal/Base64.hpp"
#include "Platform/Foundation/JSON/JSONDecoding.hpp"
#include "Platform/Foundation/JSON/JSONWriter.hpp"

namespace platform {

Data JSONCodec<Data>::decode(JSONReader& reader) {
  const auto text = reader.decode<std::string>();
  std::optional<Data> data = detail::fromBase64(text);
  if (!data) reader.fail("the text is not base64");
  return *std::move(data);
}

void JSONCodec<Data>::encode(const Data& data, JSONWriter& writer) { writer.writeString(detail::toBase64(data)); }

URL JSONCodec<URL>::decode(JSONReader& reader) {
  const auto text = reader.decode<std::string>();
  const std::optional<URL> url = URL::parse(text);
  if (!url) reader.fail(URL::problem(text));
  return *url;
}

void JSONCodec<URL>::encode(const URL& url, JSONWriter& writer) { writer.writeString(url.relativeString()); }

URL JSONCodec<URL>::placeholder() {
  static const URL& root = *new URL("/");
  return root;
}

UUID JSONCodec<UUID>::decode(JSONReader& reader) {
  const auto text = reader.decode<std::string>();
  const std::optional<UUID> uuid = UUID::parse(text);
  if (!uuid) reader.fail("the text is no UUID");
  return *uuid;
}

void JSONCodec<UUID>::encode(const UUID& uuid, JSONWriter& writer) { writer.writeString(uuid.uuidString()); }

}  // namespace platform
