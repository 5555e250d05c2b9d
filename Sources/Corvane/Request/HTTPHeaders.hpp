#pragma once

#include <string>
#include <utility>

#include "Corvane/Request/OrderedDictionary.hpp"
#include "Platform/Foundation/AnyValue.hpp"
#include "Platform/Foundation/Dictionary.hpp"
#include "Platform/Foundation/URLComponents.hpp"

namespace corvane {

/// Header fields of a request: a map from names to values of any printable type. Names are compared without regard to
/// case; the spelling that was set last is sent.
using HTTPHeaders = platform::Dictionary;

/// Query items in the order of the URL: a map from names to values of any printable type.
///
///     HTTPQueryItems queryItems() const { return {{"page", 2}}; }
///     HTTPQueryItems queryItems() const { return HTTPQueryItems{{"phone", "+44 20"}}.strictlyEncoded(); }
///
/// By default, percent-encoding follows `URLQueryEncoding::platform`, which keeps a "+". Many servers read a "+" as a
/// space: if a value may contain one, encode strictly.
class HTTPQueryItems : public OrderedDictionary<std::string, platform::AnyValue> {
 public:
  using OrderedDictionary::OrderedDictionary;
  HTTPQueryItems() = default;
  /// The entries of a dictionary, with the default encoding.
  HTTPQueryItems(OrderedDictionary items)  // NOLINT(google-explicit-constructor): items are a dictionary
      : OrderedDictionary(std::move(items)) {}

  /// The same items with everything percent-encoded but letters, digits, "-", ".", "_" and "~" (RFC 3986, 2.3), so
  /// that a "+" arrives as a plus everywhere.
  HTTPQueryItems strictlyEncoded() const {
    HTTPQueryItems items = *this;
    items.encoding_ = platform::URLQueryEncoding::strict;
    return items;
  }
  /// The encoding in the URL. Default: `URLQueryEncoding::platform`.
  platform::URLQueryEncoding encoding() const { return encoding_; }

 private:
  platform::URLQueryEncoding encoding_ = platform::URLQueryEncoding::platform;
};

}  // namespace corvane
