#include "Corvane/Request/HTTPFormBody.hpp"

#include <string_view>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/JSON/JSONDecoder.hpp"
#include "Platform/Foundation/JSON/JSONValue.hpp"

namespace corvane {

using platform::Data;
using platform::JSONKind;
using platform::JSONValue;

namespace {

/// What the percent-encode set of forms leaves alone (WHATWG URL, 1.3).
bool isSentAsItIs(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '*' || c == '-' ||
         c == '.' || c == '_';
}

void appendEncoded(std::string& out, std::string_view text) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (isSentAsItIs(c)) {
      out += c;
    } else if (c == ' ') {
      out += '+';
    } else {
      out += '%';
      out += digits[byte >> 4U];
      out += digits[byte & 0x0FU];
    }
  }
}

[[noreturn]] void refuse(std::string_view name, std::string_view what) {
  throw platform::Error("Corvane.HTTPFormBody", 0,
                        "A form cannot have the member \"" + std::string(name) + "\": it is " + std::string(what) +
                            ", and the values of a form are numbers, Booleans, text and lists of them");
}

std::string formValue(std::string_view name, const JSONValue& value) {
  switch (value.kind()) {
    case JSONKind::string:
      return *value.string();
    case JSONKind::number:
    case JSONKind::boolean:
      return platform::JSONEncoder().encode(value).text();
    case JSONKind::null:
      refuse(name, "null");
    case JSONKind::array:
      refuse(name, "a list of lists");
    case JSONKind::object:
      break;
  }
  refuse(name, "an object");
}

}  // namespace

HTTPFormBody::HTTPFormBody(std::initializer_list<std::pair<std::string, platform::AnyValue>> items) {
  items_.reserve(items.size());
  for (const auto& [name, value] : items) append(name, value);
}

HTTPFormBody HTTPFormBody::ofJSON(const Data& document) {
  const auto value = platform::JSONDecoder().decode<JSONValue>(document);
  const platform::JSONObject* const members = value.object();
  if (!members) {
    throw platform::Error("Corvane.HTTPFormBody", 0,
                          "A form is made of a value with named members, and this one is written as JSON without any");
  }
  HTTPFormBody form;
  for (const auto& [name, member] : *members) {
    if (member.isNull()) continue;
    if (const JSONValue::Array* const elements = member.array()) {
      for (const JSONValue& element : *elements) form.items_.emplace_back(name, formValue(name, element));
    } else {
      form.items_.emplace_back(name, formValue(name, member));
    }
  }
  return form;
}

void HTTPFormBody::append(std::string name, const platform::AnyValue& value) {
  items_.emplace_back(std::move(name), value.description());
}

std::string HTTPFormBody::text() const {
  std::string result;
  for (const auto& [name, value] : items_) {
    if (!result.empty()) result += '&';
    appendEncoded(result, name);
    result += '=';
    appendEncoded(result, value);
  }
  return result;
}

}  // namespace corvane
