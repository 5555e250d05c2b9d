#pragma once

#include <string>
#include <string_view>

namespace platform::detail {

/// A host name in the form that is looked up and sent, or why there is none.
struct HostName {
  std::string ascii;
  /// Without the name itself, e.g. "is no name by IDNA 2008"; empty when there is a name.
  std::string problem;
};

/// The name that a host with characters outside of ASCII stands for: mapped as UTS 46 says, without its transitional
/// forms ("ß" stays), and encoded by IDNA 2008 (RFC 5891). The mapping folds case and width and makes full stops of
/// U+3002, U+FF0E and U+FF61. What it would turn into an address, or into characters that names do not have ("／"
/// becomes "/"), is refused: other readers would see another host. Requires: well-formed UTF-8.
HostName internationalHost(std::string_view name);

}  // namespace platform::detail
