#pragma once

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Corvane/Request/Detail/FormModel.hpp"
#include "Corvane/Request/HTTPMediaType.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/AnyValue.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Velisand/JSONCodable.hpp"

namespace corvane {

/// A form of names and values, as a page in a browser sends it: a body of the type "application/x-www-form-urlencoded".
///
///     HTTPFormBody{{"grant_type", "refresh_token"}, {"refresh_token", token}}
///     HTTPFormBody::of(search)  // of a plain struct
///
/// The items keep their order, and a name may be repeated. Names and values are bytes, in UTF-8 by convention. A value
/// of any printable type is written as `platform::AnyValue` prints it. Letters, digits, `*`, `-`, `.` and `_` are sent
/// as they are, a space as `+`, and every other byte as `%` and two digits (WHATWG URL, 5.2); line breaks stay as they
/// are, too. A form with files is an `HTTPFormData`. A value type, safe to read on several threads.
class CORVANE_API HTTPFormBody {
 public:
  /// A name and a value, not encoded.
  using Item = std::pair<std::string, std::string>;

  HTTPFormBody() = default;
  /// The items in their order.
  HTTPFormBody(std::initializer_list<std::pair<std::string, platform::AnyValue>> items);
  // Chosen for one pair without braces of its own; does not compile.
  template <std::size_t size, std::convertible_to<platform::AnyValue> One>
  HTTPFormBody(const char (&)[size], const One&) {
    static_assert(size == 0, "Each name and its value have braces of their own: write `{{\"name\", \"Ada\"}}`");
  }

  /// A form of the members of a plain struct, in their order, by the names and in the form that they have in JSON: a
  /// key of its `JSONCodec`, dates as its encoder writes them. Numbers, Booleans ("true", "false"), text and
  /// enumerations are values; an absent optional is left out; a list is its name once for each element. A member of
  /// another type does not compile. Where that only shows in the values (a codec of the type's own, a null in a list),
  /// throws an error of the domain "Corvane.HTTPFormBody" that names the member. Throws, too, what encoding the struct
  /// as JSON throws.
  template <class Model>
  static HTTPFormBody of(const Model& model) {
    if constexpr (detail::checkFormModel<Model>()) return ofJSON(velisand::asJSON(model));
    return {};
  }

  /// Adds an item at the end.
  void append(std::string name, const platform::AnyValue& value);
  /// In the order in which they are sent.
  const std::vector<Item>& items() const { return items_; }

  /// The form as it is sent: "grant_type=refresh_token&refresh_token=…".
  std::string text() const;
  /// The bytes of `text()`.
  platform::Data asData() const { return {text()}; }
  /// "application/x-www-form-urlencoded".
  HTTPMediaType contentType() const { return HTTPMediaType::formURLEncoded; }

  friend bool operator==(const HTTPFormBody&, const HTTPFormBody&) = default;

 private:
  static HTTPFormBody ofJSON(const platform::Data& document);

  std::vector<Item> items_;
};

}  // namespace corvane
