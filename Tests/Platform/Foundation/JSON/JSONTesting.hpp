#pragma once

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>

#include "Platform/Foundation/JSON/DecodingError.hpp"
#include "Platform/Foundation/JSON/EncodingError.hpp"
#include "Platform/Foundation/JSON/JSONDecoder.hpp"
#include "Platform/Foundation/JSON/JSONEncoder.hpp"

namespace platform::testing {

template <class T>
T decoded(std::string_view json, const JSONStrategies& strategies = {}) {
  return JSONDecoder(strategies).decode<T>(Data(json));
}

/// What decoding throws, which is a failure of the test if it does not throw.
template <class T>
DecodingError refusal(std::string_view json, const JSONStrategies& strategies = {}) {
  try {
    decoded<T>(json, strategies);
  } catch (const DecodingError& error) {
    return error;
  }
  throw std::logic_error("decoded without an error: " + std::string(json));
}

template <class T>
std::string refusalMessage(std::string_view json, const JSONStrategies& strategies = {}) {
  return refusal<T>(json, strategies).message();
}

template <class T>
std::string encoded(const T& value, const JSONStrategies& strategies = {}) {
  return JSONEncoder(strategies).encode(value).text();
}

/// What encoding throws, which is a failure of the test if it does not throw.
template <class T>
EncodingError encodingRefusal(const T& value, const JSONStrategies& strategies = {}) {
  try {
    encoded(value, strategies);
  } catch (const EncodingError& error) {
    return error;
  }
  throw std::logic_error("encoded without an error");
}

inline std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  for (std::size_t round = 0; round < count; ++round) result += text;
  return result;
}

}  // namespace platform::testing
