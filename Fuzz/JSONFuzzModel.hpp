#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/JSON/JSONDecoder.hpp"
#include "Platform/Foundation/JSON/JSONEncoder.hpp"
#include "Platform/Foundation/JSON/JSONValue.hpp"

namespace platform::fuzz {

/// Read and written by name.
enum class Colour { red, green, blue };
/// Read and written by value.
enum class Weight : std::uint8_t { light = 1, heavy = 200 };

/// A value without model, and a codec of its own.
struct Free {
  JSONValue value;

  friend bool operator==(const Free&, const Free&) = default;
};

struct Point {
  double x = 0;
  double y = 0;

  friend bool operator==(const Point&, const Point&) = default;
};

struct Label {
  std::string text;
  std::optional<Colour> colour;

  friend bool operator==(const Label&, const Label&) = default;
};

using Piece = std::variant<bool, double, std::string, Point, Label, std::vector<Point>>;
using Reference = std::variant<std::int64_t, std::string>;

/// Every kind of member that a model may have. Nearly all are optional, so that an input reaches each alone.
struct Drawing {
  std::optional<std::string> name;
  std::optional<bool> shown;
  std::optional<std::int8_t> tiny;
  std::optional<std::uint8_t> byte;
  std::optional<std::int16_t> small;
  std::optional<std::uint32_t> middle;
  std::optional<std::int64_t> large;
  std::optional<std::uint64_t> huge;
  std::optional<float> rough;
  std::optional<double> fine;
  std::optional<Colour> colour;
  std::optional<Weight> weight;
  std::optional<Point> origin;
  std::optional<std::vector<std::int32_t>> numbers;
  std::optional<std::vector<std::optional<std::string>>> words;
  std::optional<std::map<std::string, Point>> points;
  std::optional<std::unordered_map<std::string, double>> weights;
  std::optional<Piece> piece;
  std::optional<std::vector<Piece>> pieces;
  std::optional<Reference> reference;
  std::optional<Data> image;
  std::optional<Free> anything;
  std::optional<std::vector<Drawing>> parts;

  friend bool operator==(const Drawing&, const Drawing&) = default;
};

/// A model that asks for nothing, so that whole documents are skipped.
struct Bystander {
  std::optional<bool> isThere;

  friend bool operator==(const Bystander&, const Bystander&) = default;
};

}  // namespace platform::fuzz

namespace platform {

template <>
struct JSONCodec<fuzz::Colour> {
  static constexpr JSONName<fuzz::Colour> names[] = {
      {fuzz::Colour::red, "red"}, {fuzz::Colour::green, "green"}, {fuzz::Colour::blue, "blue"}};
};

template <>
struct JSONCodec<fuzz::Free> {
  static fuzz::Free decode(JSONReader& reader) { return {reader.decode<JSONValue>()}; }
  static void encode(const fuzz::Free& free, JSONWriter& writer) { writer.encode(free.value); }
};

}  // namespace platform
