#include "Corvane/Request/JSONReference.hpp"

namespace corvane {

using platform::Data;

const platform::JSONDecoder& jsonDecoder() {
  static const platform::JSONDecoder& decoder = *new platform::JSONDecoder;
  return decoder;
}

const platform::JSONEncoder& jsonEncoder() {
  static const platform::JSONEncoder& encoder = *new platform::JSONEncoder;
  return encoder;
}

JSONReference::JSONReference(const char* text) : JSONReference(std::string(text)) {}

JSONReference::JSONReference(std::string_view text) : JSONReference(std::string(text)) {}

platform::JSONValue JSONReference::asJSON() const { return jsonDecoder().decode<platform::JSONValue>(asData()); }

Data JSONReference::asData() const { return velisand::asJSON(*this); }

EmptyJSON::EmptyJSON(const Data& document) : EmptyJSON(velisand::fromJSON<EmptyJSON>(document)) {}

EmptyJSON::EmptyJSON(const platform::URL& file) : EmptyJSON(velisand::fromJSON<EmptyJSON>(file)) {}

Data EmptyJSON::asData() const { return velisand::asJSON(*this); }

}  // namespace corvane

namespace platform {

void JSONCodec<corvane::JSONReference>::encode(const corvane::JSONReference& reference, JSONWriter& writer) {
  reference.encode(writer);
}

corvane::EmptyJSON JSONCodec<corvane::EmptyJSON>::decode(JSONReader& reader) {
  reader.skip();
  return {};
}

void JSONCodec<corvane::EmptyJSON>::encode(const corvane::EmptyJSON&, JSONWriter& writer) {
  const JSONWriter::Object object(writer);
}

}  // namespace platform
