#pragma once

#include <string>

#include "Corvane/Request/OrderedDictionary.hpp"
#include "Platform/Foundation/Dictionary.hpp"

namespace corvane {

/// Header fields as a request describes them: names to values of any printable kind. Names that differ in
/// case only name one field, and the later spelling wins.
using HTTPHeaders = platform::Dictionary;

/// Query items in the order in which they reach the URL: names to values of any printable kind.
using HTTPQueryItems = OrderedDictionary<std::string, platform::AnyValue>;

}  // namespace corvane
