#pragma once

#include <type_traits>

namespace corvane::detail {

template <class T>
concept Complete = requires { sizeof(T); };

/// Refuses a mixin that was given another type than the one that derives from it. A mixin calls it where the type is
/// complete: when a value is made, or when a member is used. It cannot see two types that take turns, each a mixin's
/// argument in its own right: a mixin knows what it was given, not who derives from it.
template <class Self, class Mixin>
constexpr bool checkSelf() {
  static_assert(Complete<Self>,
                "A mixin is given the type that derives from it, `struct Get : DataGetRequestable<Get>`: this one was "
                "given a type that is only declared");
  if constexpr (Complete<Self>) {
    static_assert(std::is_base_of_v<Mixin, Self>,
                  "A mixin is given the type that derives from it, `struct Get : DataGetRequestable<Get>`: this one "
                  "names another");
    return std::is_base_of_v<Mixin, Self>;
  }
  return false;
}

/// The same for a base class that callers of the type use.
template <class Self, class Mixin>
constexpr bool checkPublicSelf() {
  if constexpr (checkSelf<Self, Mixin>()) {
    static_assert(std::is_convertible_v<const Self*, const Mixin*>,
                  "A request derives from its mixins publicly, and from one request mixin only: write `struct Get : "
                  "DataGetRequestable<Get>`, or `class Get : public DataGetRequestable<Get>`");
    return std::is_convertible_v<const Self*, const Mixin*>;
  }
  return false;
}

}  // namespace corvane::detail
