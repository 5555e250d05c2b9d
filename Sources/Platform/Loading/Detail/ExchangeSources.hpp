#pragma once

#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"

namespace platform::detail {

class ExchangeSource;

/// What stands between a request and the network while tests replace it: the sources that were there when the request
/// was sent, and what they cannot learn from the request itself.
class CORVANE_API ExchangeSources {
 public:
  /// What a request fails with that no source responds to.
  using Refusal = Error (*)(const std::string& method, const URL& url);

  /// Null where there are none: one load of an atomic. Any thread.
  static std::shared_ptr<ExchangeSources> current(const std::type_info& requestType) {
    return exist() ? collect(requestType) : nullptr;
  }

  // For sources. Any thread. Requests that were sent before keep those that they were sent with.
  static void add(std::shared_ptr<ExchangeSource> source);
  static void remove(const ExchangeSource& source);

  /// The type of the request value.
  const std::type_info* requestType = nullptr;
  /// Null: such a request goes to the network.
  Refusal refusal = nullptr;
  /// In the order in which they are asked: the newest first.
  std::vector<std::shared_ptr<ExchangeSource>> sources;

 private:
  static bool exist();
  static std::shared_ptr<ExchangeSources> collect(const std::type_info& requestType);
};

}  // namespace platform::detail
