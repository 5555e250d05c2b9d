#pragma once

#include <string>
#include <utility>

#include "Corvane/Request/OrderedDictionary.hpp"
#include "Platform/Foundation/AnyValue.hpp"
#include "Platform/Foundation/Dictionary.hpp"
#include "Platform/Foundation/URLComponents.hpp"

namespace corvane {

/// Header fields as a request describes them: names to values of any printable kind. Names that differ in
/// case only name one field, and the later spelling wins.
using HTTPHeaders = platform::Dictionary;

/// Query items in the order in which they reach the URL: names to values of any printable kind.
///
///     HTTPQueryItems queryItems() const { return {{"page", 2}}; }
///     HTTPQueryItems queryItems() const { return HTTPQueryItems{{"phone", "+44 20"}}.strictlyEncoded(); }
///
/// They are percent-encoded as the platform does it, which leaves a "+" as it is. Many servers read that as a space:
/// where a value may hold one, encode strictly.
class HTTPQueryItems : public OrderedDictionary<std::string, platform::AnyValue> {
 public:
  using OrderedDictionary::OrderedDictionary;
  HTTPQueryItems() = default;
  /// The entries of a dictionary, encoded as the platform does it.
  HTTPQueryItems(OrderedDictionary items)  // NOLINT(google-explicit-constructor): items are a dictionary
      : OrderedDictionary(std::move(items)) {}

  /// The same items with everything percent-encoded but letters, digits, "-", ".", "_" and "~" (RFC 3986, 2.3), so
  /// that a "+" arrives as a plus everywhere.
  HTTPQueryItems strictlyEncoded() const {
    HTTPQueryItems items = *this;
    items.encoding_ = platform::URLQueryEncoding::strict;
    return items;
  }
  /// How they are written into a URL. Default: as the platform does it.
  platform::URLQueryEncoding encoding() const { return encoding_; }

 private:
  platform::URLQueryEncoding encoding_ = platform::URLQueryEncoding::platform;
};

}  // namespace corvane
