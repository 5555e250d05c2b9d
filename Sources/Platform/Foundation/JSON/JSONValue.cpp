#include "Platform/Foundation/JSON/JSONValue.hpp"

#include <cmath>
#include <ostream>

#include "Platform/Foundation/JSON/JSONDecoding.hpp"
#include "Platform/Foundation/JSON/JSONWriter.hpp"

namespace platform {
namespace {

const JSONValue& nullValue() {
  static const JSONValue& value = *new JSONValue;
  return value;
}

/// Whether a value is an integer that a double equals exactly.
bool equalsInteger(double real, const JSONValue& value) {
  // Beyond this bound, 2^63 or 2^64, a double does not convert to the integer.
  if (const auto integer = value.integer()) {
    return real >= -0x1p63 && real < 0x1p63 && std::floor(real) == real && static_cast<std::int64_t>(real) == *integer;
  }
  const auto integer = value.unsignedInteger();
  return integer && real >= 0 && real < 0x1p64 && std::floor(real) == real &&
         static_cast<std::uint64_t>(real) == *integer;
}

JSONValue::Array readArray(JSONReader& reader) {
  JSONValue::Array elements;
  for (JSONReader::Array array(reader); array.next();) elements.push_back(JSONCodec<JSONValue>::decode(reader));
  return elements;
}

void writeArray(const JSONValue::Array& elements, JSONWriter& writer) {
  JSONWriter::Array array(writer);
  for (const JSONValue& element : elements) {
    array.element();
    JSONCodec<JSONValue>::encode(element, writer);
  }
}

}  // namespace

JSONValue::JSONValue() noexcept = default;

JSONValue::JSONValue(std::nullptr_t) noexcept {}

JSONValue::JSONValue(const JSONValue& other) = default;
JSONValue::JSONValue(JSONValue&& other) noexcept = default;
JSONValue::~JSONValue() = default;

JSONValue& JSONValue::operator=(const JSONValue& other) {
  JSONValue copy(other);
  value_.swap(copy.value_);
  return *this;
}

JSONValue& JSONValue::operator=(JSONValue&& other) noexcept {
  JSONValue taken(std::move(other));
  value_.swap(taken.value_);
  return *this;
}

JSONValue::JSONValue(double value) noexcept : value_(value) {}
JSONValue::JSONValue(const char* text) : value_(std::string(text)) {}
JSONValue::JSONValue(std::string_view text) : value_(std::string(text)) {}
JSONValue::JSONValue(std::string text) noexcept : value_(std::move(text)) {}
JSONValue::JSONValue(Array elements) noexcept : value_(std::move(elements)) {}
JSONValue::JSONValue(JSONObject members) noexcept : value_(std::move(members)) {}

void JSONValue::setBoolean(bool value) noexcept { value_ = value; }
void JSONValue::setInteger(std::int64_t value) noexcept { value_ = value; }
void JSONValue::setUnsigned(std::uint64_t value) noexcept { value_ = value; }

bool JSONValue::isNull() const noexcept { return std::holds_alternative<std::monostate>(value_); }
const std::string* JSONValue::string() const noexcept { return std::get_if<std::string>(&value_); }
const JSONValue::Array* JSONValue::array() const noexcept { return std::get_if<Array>(&value_); }
JSONValue::Array* JSONValue::array() noexcept { return std::get_if<Array>(&value_); }
const JSONObject* JSONValue::object() const noexcept { return std::get_if<JSONObject>(&value_); }
JSONObject* JSONValue::object() noexcept { return std::get_if<JSONObject>(&value_); }

JSONKind JSONValue::kind() const noexcept {
  static constexpr JSONKind kinds[] = {JSONKind::null,   JSONKind::boolean, JSONKind::number, JSONKind::number,
                                       JSONKind::number, JSONKind::string,  JSONKind::array,  JSONKind::object};
  return kinds[value_.index()];
}

std::optional<bool> JSONValue::boolean() const noexcept {
  const bool* const value = std::get_if<bool>(&value_);
  return value ? std::optional(*value) : std::nullopt;
}

std::optional<std::int64_t> JSONValue::integer() const noexcept {
  const auto* const value = std::get_if<std::int64_t>(&value_);
  return value ? std::optional(*value) : std::nullopt;
}

std::optional<std::uint64_t> JSONValue::unsignedInteger() const noexcept {
  if (const auto* const value = std::get_if<std::uint64_t>(&value_)) return *value;
  const auto* const value = std::get_if<std::int64_t>(&value_);
  return value && *value >= 0 ? std::optional(static_cast<std::uint64_t>(*value)) : std::nullopt;
}

std::optional<double> JSONValue::number() const noexcept {
  if (const auto* const value = std::get_if<double>(&value_)) return *value;
  if (const auto* const value = std::get_if<std::uint64_t>(&value_)) return static_cast<double>(*value);
  const auto* const value = std::get_if<std::int64_t>(&value_);
  return value ? std::optional(static_cast<double>(*value)) : std::nullopt;
}

const JSONValue& JSONValue::operator[](std::string_view key) const {
  const JSONObject* const members = object();
  const JSONValue* const found = members ? members->find(key) : nullptr;
  return found ? *found : nullValue();
}

const JSONValue& JSONValue::operator[](std::size_t index) const {
  const Array* const elements = array();
  return elements && index < elements->size() ? (*elements)[index] : nullValue();
}

bool operator==(const JSONValue& left, const JSONValue& right) {
  if (left.value_.index() == right.value_.index()) return left.value_ == right.value_;
  const auto* const leftReal = std::get_if<double>(&left.value_);
  const auto* const rightReal = std::get_if<double>(&right.value_);
  if (leftReal) return equalsInteger(*leftReal, right);
  return rightReal && equalsInteger(*rightReal, left);
}

std::ostream& operator<<(std::ostream& stream, const JSONValue& value) {
  JSONWriter writer;
  JSONCodec<JSONValue>::encode(value, writer);
  return stream << writer.finish();
}

JSONValue JSONCodec<JSONValue>::decode(JSONReader& reader) {
  switch (reader.kind()) {
    case JSONKind::object:
      return JSONCodec<JSONObject>::decode(reader);
    case JSONKind::array:
      return readArray(reader);
    case JSONKind::string:
      return reader.decode<std::string>();
    case JSONKind::number:
      return std::visit([](auto number) { return JSONValue(number); }, detail::JSONValueDecoder::decodeNumber(reader));
    case JSONKind::boolean:
      return reader.decode<bool>();
    case JSONKind::null:
      break;
  }
  reader.takeNull();
  return {};
}

JSONObject JSONCodec<JSONObject>::decode(JSONReader& reader) {
  JSONObject members;
  for (JSONReader::Object object(reader); object.next();) members[object.key()] = JSONCodec<JSONValue>::decode(reader);
  return members;
}

void JSONCodec<JSONValue>::encode(const JSONValue& value, JSONWriter& writer) {
  if (const auto* const members = value.object()) return JSONCodec<JSONObject>::encode(*members, writer);
  if (const auto* const elements = value.array()) return writeArray(*elements, writer);
  if (const auto* const text = value.string()) return writer.writeString(*text);
  if (const auto integer = value.integer()) return writer.writeSigned(*integer);
  if (const auto integer = value.unsignedInteger()) return writer.writeUnsigned(*integer);
  if (const auto number = value.number()) return writer.writeReal(*number);
  if (const auto boolean = value.boolean()) return writer.writeBoolean(*boolean);
  writer.writeNull();
}

void JSONCodec<JSONObject>::encode(const JSONObject& object, JSONWriter& writer) {
  JSONWriter::Object members(writer);
  // NOLINTNEXTLINE(clang-analyzer-core.StackAddressEscape): its destructor takes it out of the writer
  for (const JSONMember& member : object) {
    members.key(member.key);
    JSONCodec<JSONValue>::encode(member.value, writer);
  }
}

}  // namespace platform
