#pragma once

#include <string_view>
#include <type_traits>

/// Which class declares a static member. The language does not tell, since a pointer to it says nothing of a class; the
/// text in which compilers name template arguments does.
namespace corvane::detail {

template <class T>
constexpr auto textOfType() {
  return std::string_view(__PRETTY_FUNCTION__);
}
template <auto member>
constexpr auto textOfMember() {
  return std::string_view(__PRETTY_FUNCTION__);
}

/// "… [with T = N::Get]" (GCC), "… [T = N::Get]" (Clang).
constexpr std::string_view argumentIn(std::string_view text) {
  text = text.substr(text.find(" = ") + 3);
  return text.substr(0, text.rfind(']'));
}

/// "(& N::Get::limit)", of a function "N::Get::limit" (GCC), "&N::Get::limit" (Clang).
constexpr std::string_view ownerIn(std::string_view member) {
  for (const std::string_view start : {"(", "& ", "&"}) {
    // Clang's "(anonymous namespace)" has no address sign before it once that is taken away.
    if (start == "(" ? member.starts_with("(& ") : member.starts_with(start)) member.remove_prefix(start.size());
  }
  const auto end = member.rfind("::");
  return end == member.npos ? std::string_view() : member.substr(0, end);
}

/// Whether a base class of `Self` declares this static member of it. False of any other member.
template <class Self, auto member>
constexpr bool isInheritedStatic() {
  if constexpr (std::is_pointer_v<decltype(member)>) {
    return ownerIn(argumentIn(textOfMember<member>())) != argumentIn(textOfType<Self>());
  } else {
    return false;
  }
}

}  // namespace corvane::detail
