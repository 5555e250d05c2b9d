#include "Platform/Foundation/AnyValue.hpp"

#include <charconv>
#include <cmath>
#include <sstream>
#include <variant>

#include "Platform/Foundation/Dictionary.hpp"
#include "Platform/Foundation/Internal/RealFromChars.hpp"

namespace platform {

DeferredDictionary::Maker::~Maker() = default;

Dictionary DeferredDictionary::operator()() const {
  Dictionary made;
  maker_->make(made);
  return made;
}

struct AnyValue::Large {
  std::variant<std::string, Data, TypeValue, Dictionary, List, Deferred> content;
};

namespace {

/// The shortest decimal that reads back as the same number.
template <class Number>
std::string shortest(Number value, std::chars_format format) {
  char buffer[64];
  const auto written = std::to_chars(buffer, buffer + sizeof buffer, value, format);
  return {buffer, written.ptr};
}

std::string describe(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  const double magnitude = std::fabs(value);
  const bool isPlain = magnitude == 0 || (magnitude >= 1e-4 && magnitude <= 0x1p54);
  if (!isPlain) return shortest(value, std::chars_format::scientific);
  std::string text = shortest(value, std::chars_format::fixed);
  if (text.find('.') == std::string::npos) text += ".0";
  return text;
}

/// The double whose shortest decimal is that of `value`.
double widen(float value) {
  if (!std::isfinite(value)) return value;
  const std::string text = shortest(value, std::chars_format::scientific);
  double wide = 0;
  detail::from_chars(text.data(), text.data() + text.size(), wide);
  return wide;
}

std::string describe(const std::string& text) { return text; }

std::string describe(const Data& data) { return std::to_string(data.count()) + " bytes"; }

std::string describe(const TypeValue& type) { return type.name(); }

std::string describe(const Dictionary& dictionary) {
  if (dictionary.isEmpty()) return "[:]";
  std::string text = "[";
  for (const auto& [key, value] : dictionary) {
    if (text.size() > 1) text += ", ";
    text.append(key).append(": ").append(value.description());
  }
  return text += "]";
}

std::string describe(const AnyValue::List& list) {
  std::string text = "[";
  for (const AnyValue& value : list) {
    if (&value != &list.front()) text += ", ";
    text += value.description();
  }
  return text += "]";
}

std::string describe(const DeferredDictionary& deferred) { return describe(deferred()); }

}  // namespace

AnyValue::AnyValue(float value) : AnyValue(widen(value)) {}

AnyValue::AnyValue(const char* text) {
  if (text != nullptr) *this = AnyValue(std::string_view(text));
}

AnyValue::AnyValue(std::string_view text) : AnyValue(std::string(text)) {}

AnyValue::AnyValue(std::string text)
    : kind_(Kind::text), large_(std::make_shared<const Large>(Large{std::move(text)})) {}

AnyValue::AnyValue(Data data) : kind_(Kind::data), large_(std::make_shared<const Large>(Large{std::move(data)})) {}

AnyValue::AnyValue(TypeValue type) : kind_(Kind::type), large_(std::make_shared<const Large>(Large{type})) {}

AnyValue::AnyValue(Dictionary dictionary)
    : kind_(Kind::dictionary), large_(std::make_shared<const Large>(Large{std::move(dictionary)})) {}

AnyValue::AnyValue(List list) : kind_(Kind::list), large_(std::make_shared<const Large>(Large{std::move(list)})) {}

AnyValue::AnyValue(Deferred deferred)
    : kind_(Kind::deferred), large_(std::make_shared<const Large>(Large{std::move(deferred)})) {}

std::string AnyValue::render(const void* object, Print print) {
  std::ostringstream stream;
  print(stream, object);
  return std::move(stream).str();
}

std::string AnyValue::description() const {
  switch (kind_) {
    case Kind::null:
      return "null";
    case Kind::boolean:
      return small_.boolean ? "true" : "false";
    case Kind::integer:
      return std::to_string(small_.integer);
    case Kind::unsignedInteger:
      return std::to_string(small_.unsignedInteger);
    case Kind::real:
      return describe(small_.real);
    default:
      return std::visit([](const auto& content) { return describe(content); }, large_->content);
  }
}

const std::string* AnyValue::text() const noexcept {
  return large_ ? std::get_if<std::string>(&large_->content) : nullptr;
}

const Data* AnyValue::data() const noexcept { return large_ ? std::get_if<Data>(&large_->content) : nullptr; }

const TypeValue* AnyValue::type() const noexcept { return large_ ? std::get_if<TypeValue>(&large_->content) : nullptr; }

const Dictionary* AnyValue::dictionary() const noexcept {
  return large_ ? std::get_if<Dictionary>(&large_->content) : nullptr;
}

const AnyValue::List* AnyValue::list() const noexcept { return large_ ? std::get_if<List>(&large_->content) : nullptr; }

const AnyValue::Deferred* AnyValue::deferred() const noexcept {
  return large_ ? std::get_if<Deferred>(&large_->content) : nullptr;
}

std::optional<bool> AnyValue::boolean() const noexcept {
  if (kind_ != Kind::boolean) return std::nullopt;
  return small_.boolean;
}

std::optional<std::int64_t> AnyValue::integer() const noexcept {
  if (kind_ != Kind::integer) return std::nullopt;
  return small_.integer;
}

std::optional<std::uint64_t> AnyValue::unsignedInteger() const noexcept {
  if (kind_ == Kind::unsignedInteger) return small_.unsignedInteger;
  if (kind_ != Kind::integer || small_.integer < 0) return std::nullopt;
  return static_cast<std::uint64_t>(small_.integer);
}

std::optional<double> AnyValue::number() const noexcept {
  switch (kind_) {
    case Kind::integer:
      return static_cast<double>(small_.integer);
    case Kind::unsignedInteger:
      return static_cast<double>(small_.unsignedInteger);
    case Kind::real:
      return small_.real;
    default:
      return std::nullopt;
  }
}

bool operator==(const AnyValue& left, const AnyValue& right) {
  using Kind = AnyValue::Kind;
  if (left.kind_ != right.kind_) return false;
  switch (left.kind_) {
    case Kind::null:
      return true;
    case Kind::boolean:
      return left.small_.boolean == right.small_.boolean;
    case Kind::integer:
      return left.small_.integer == right.small_.integer;
    case Kind::unsignedInteger:
      return left.small_.unsignedInteger == right.small_.unsignedInteger;
    case Kind::real:
      return left.small_.real == right.small_.real;
    case Kind::text:
      return *left.text() == *right.text();
    case Kind::data:
      return *left.data() == *right.data();
    case Kind::type:
      return *left.type() == *right.type();
    case Kind::dictionary:
      return *left.dictionary() == *right.dictionary();
    case Kind::list:
      return *left.list() == *right.list();
    case Kind::deferred:
      return false;
  }
  return false;
}

}  // namespace platform
