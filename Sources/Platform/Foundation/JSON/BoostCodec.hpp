#pragma once

#include <boost/json.hpp>
#include <stdexcept>
#include <string>

#include "Platform/Foundation/JSON/JSONCodec.hpp"
#include "Platform/Foundation/JSON/JSONReader.hpp"
#include "Platform/Foundation/JSON/JSONWriter.hpp"
#include "Platform/Foundation/UTF8.hpp"

namespace platform {

/// Makes a type that Boost.JSON converts (`tag_invoke` for `value_to` and `value_from`, or a type that it supports
/// itself) usable with this library's coders, alone or as a member of a model. Link boost_json, and write one line for
/// each type:
///
///     #include "Platform/Foundation/JSON/BoostCodec.hpp"  // not part of any other header
///
///     template <>
///     struct corvane::JSONCodec<Legacy> : platform::BoostCodec<Legacy> {};
///
/// Exceptions of Boost.JSON, including `std::logic_error`, become a `DecodingError` (`dataCorrupted`) or an
/// `EncodingError` with the path; other exceptions from a conversion pass unchanged. Numbers that JSON cannot represent
/// are written as Boost.JSON writes them.
template <class T>
struct BoostCodec {
  static T decode(JSONReader& reader)
    requires boost::json::has_value_to<T>::value
  {
    const std::string_view text = reader.readRaw();
    boost::json::parse_options options;
    options.max_depth = JSONReader::deepestNesting;
    try {
      return boost::json::value_to<T>(boost::json::parse({text.data(), text.size()}, {}, options));
    } catch (const boost::system::system_error& error) {
      reader.fail(error.what());
    } catch (const std::logic_error& error) {
      reader.fail(error.what());
    }
  }
  static void encode(const T& value, JSONWriter& writer)
    requires boost::json::has_value_from<T>::value
  {
    const std::string text = boost::json::serialize(boost::json::value_from(value));
    if (!isValidUTF8(text)) writer.fail("the text is not UTF-8");
    writer.writeRaw(text);
  }
};

}  // namespace platform
