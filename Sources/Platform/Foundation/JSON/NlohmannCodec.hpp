#pragma once

#include <concepts>
#include <nlohmann/json.hpp>

#include "Platform/Foundation/JSON/JSONCodec.hpp"
#include "Platform/Foundation/JSON/JSONReader.hpp"
#include "Platform/Foundation/JSON/JSONWriter.hpp"

namespace platform {

/// Lets a type that nlohmann's library converts (`from_json`, `to_json`, NLOHMANN_DEFINE_TYPE_...) be used as it is
/// with our coders, alone or as a member of a model. One line for each type:
///
///     #include "Platform/Foundation/JSON/NlohmannCodec.hpp"  // not part of any other header
///
///     template <>
///     struct corvane::JSONCodec<Legacy> : platform::NlohmannCodec<Legacy> {};
///
/// What that library throws becomes a `DecodingError` (`dataCorrupted`) or `EncodingError` that names the place;
/// what a conversion throws itself arrives unchanged. Keys come in that library's order, which sorts them, and
/// numbers that JSON does not have as null.
template <class T>
struct NlohmannCodec {
  /// Reads the value that comes next by way of a document of that library.
  static T decode(JSONReader& reader)
    requires requires(const nlohmann::json& json) {
      { json.template get<T>() } -> std::same_as<T>;
    }
  {
    const std::string_view text = reader.readRaw();
    try {
      return nlohmann::json::parse(text).template get<T>();
    } catch (const nlohmann::json::exception& error) {
      reader.fail(error.what());
    }
  }
  /// Writes the value by way of a document of that library.
  static void encode(const T& value, JSONWriter& writer)
    requires std::constructible_from<nlohmann::json, const T&>
  {
    try {
      writer.writeRaw(nlohmann::json(value).dump());
    } catch (const nlohmann::json::exception& error) {
      writer.fail(error.what());
    }
  }
};

}  // namespace platform
