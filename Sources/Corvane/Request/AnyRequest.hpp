#pragma once

#include <concepts>

#include "Corvane/Request/HTTPRequestable.hpp"

namespace corvane {

/// Any request, for generic code; `RequestKinds.hpp` has the kinds. A type that only derives from another request type
/// does not count: it is sent as that type.
template <class T>
concept AnyRequest = requires {
  typename T::Response;
  requires std::derived_from<T, HTTPRequestable<T, typename T::Response>>;
};

}  // namespace corvane
