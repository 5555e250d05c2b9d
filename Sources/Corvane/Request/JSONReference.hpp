#pragma once

#include <concepts>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>

#include "Platform/Export.hpp"
#include "Velisand/JSONCodable.hpp"

namespace corvane {

/// The decoder of every JSON response whose type names none: with default settings. Made once, for ever.
CORVANE_API const platform::JSONDecoder& jsonDecoder();
/// The encoder of every JSON body whose type names none: with default settings. Made once, for ever.
CORVANE_API const platform::JSONEncoder& jsonEncoder();

/// A value of any type that can be written as JSON: the body of a JSON request. It is written as the value itself.
///
/// Immutable; copies share the value. For bytes that are JSON already, use a `Data` body with the content type
/// `HTTPMediaType::json`.
class CORVANE_API JSONReference {
 public:
  /// Keeps the value. It is encoded when the request is sent.
  template <class T>
    requires(!std::same_as<T, JSONReference> && !std::same_as<T, platform::Data> &&
             !std::same_as<T, std::string_view> && velisand::JSONEncodable<T>)
  JSONReference(T json)  // NOLINT(google-explicit-constructor): any value is a body
      : json_(std::make_shared<const T>(std::move(json))), type_(&typeid(T)), encode_(&encodeAs<T>) {}
  /// Text, which is copied. Requires: it is not null.
  JSONReference(const char* text);       // NOLINT(google-explicit-constructor)
  JSONReference(std::string_view text);  // NOLINT(google-explicit-constructor)
  // Not moved: what is moved from would refer to nothing, and copying is cheap.
  JSONReference(const JSONReference&) = default;
  JSONReference& operator=(const JSONReference&) = default;
  ~JSONReference() = default;

  /// The value if it has that type, or else null. Valid as long as any copy of this reference exists.
  template <class T>
  const T* as() const {
    return *type_ == typeid(T) ? static_cast<const T*>(json_.get()) : nullptr;
  }
  /// The value as a `JSONValue`. Throws what encoding it throws.
  platform::JSONValue asJSON() const;

  /// Writes the value itself, as `platform::JSONCodec` asks for it.
  void encode(platform::JSONWriter& writer) const { encode_(writer, json_.get()); }
  /// The encoder of all values, whatever encoder their types name.
  static platform::JSONEncoder encoder() { return jsonEncoder(); }
  /// The JSON document, made by `encoder()`. Throws `platform::EncodingError`, and what the codec of the value's type
  /// throws.
  platform::Data asData() const;

 private:
  template <class T>
  static void encodeAs(platform::JSONWriter& writer, const void* json) {
    writer.encode(*static_cast<const T*>(json));
  }

  std::shared_ptr<const void> json_;
  const std::type_info* type_;
  void (*encode_)(platform::JSONWriter& writer, const void* json);
};

/// An empty model: reads any JSON document and keeps nothing; writes "{}".
class CORVANE_API EmptyJSON {
 public:
  EmptyJSON() = default;
  /// Throws `platform::DecodingError` when the bytes are not JSON.
  explicit EmptyJSON(const platform::Data& document);
  /// The same for the contents of a file; throws, too, what reading it throws.
  explicit EmptyJSON(const platform::URL& file);

  /// The decoder that reads it.
  static platform::JSONDecoder decoder() { return jsonDecoder(); }
  /// The encoder that writes it.
  static platform::JSONEncoder encoder() { return jsonEncoder(); }
  /// "{}".
  platform::Data asData() const;

  friend bool operator==(const EmptyJSON&, const EmptyJSON&) = default;
};

}  // namespace corvane

template <>
struct CORVANE_API platform::JSONCodec<corvane::JSONReference> {
  static void encode(const corvane::JSONReference& reference, JSONWriter& writer);
};

template <>
struct CORVANE_API platform::JSONCodec<corvane::EmptyJSON> {
  static corvane::EmptyJSON decode(JSONReader& reader);
  static void encode(const corvane::EmptyJSON& empty, JSONWriter& writer);
};
