#pragma once

#include <concepts>
#include <type_traits>
#include <utility>

namespace corvane::detail {

template <class Member, class Self>
concept IsComputed = requires(Member member, const Self& self) { (self.*member)(); };
template <class Member, class Self>
concept IsStored =
    std::is_member_object_pointer_v<Member> && requires(Member member, const Self& self) { self.*member; };
template <class Member>
concept IsStaticFunction = std::is_pointer_v<Member> && requires(Member member) { member(); };
template <class Member>
concept IsStaticData = std::is_pointer_v<Member> && std::is_object_v<std::remove_pointer_t<Member>>;

/// A pointer to something that `read` can read from a const `Self`.
template <class Member, class Self>
concept Readable =
    IsComputed<Member, Self> || IsStored<Member, Self> || IsStaticFunction<Member> || IsStaticData<Member>;

/// Reads a requirement of a request, whether its type stores it, computes it, or has it as a static member:
/// `read(&Self::path, self)`.
template <class Member, class Self>
  requires Readable<Member, Self>
constexpr decltype(auto) read(Member member, const Self& self) {
  if constexpr (IsStored<Member, Self>) {
    return (self.*member);
  } else if constexpr (IsComputed<Member, Self>) {
    return (self.*member)();
  } else if constexpr (IsStaticFunction<Member>) {
    return member();
  } else {
    return (*member);
  }
}

/// As `read`, but what is stored in an object that may be changed can be changed.
template <class Member, class Self>
  requires Readable<Member, Self>
constexpr decltype(auto) storedOrRead(Member member, Self& self) {
  if constexpr (IsStored<Member, Self>) {
    return (self.*member);
  } else {
    return read(member, self);
  }
}

/// What reading gives, and what it may be: `Member` read from a `Self` converts to `Value`.
template <class Member, class Self, class Value>
concept ReadsAs = Readable<Member, Self> && requires(Member member, const Self& self) {
  { read(member, self) } -> std::convertible_to<Value>;
};

}  // namespace corvane::detail
