#pragma once

#include <cstdint>

#include "Platform/Foundation/JSON/Detail/JSONTypes.hpp"

/// Which C++ types can be read, and from which kinds of JSON values.

namespace platform::detail {

template <class T>
constexpr bool canBeDecoded();

template <class... Types>
constexpr bool canAllBeDecoded(std::type_identity<std::variant<Types...>>) {
  return (canBeDecoded<Types>() && ...);
}

/// Members of models are not looked at.
template <class T>
constexpr bool canBeDecoded() {
  if constexpr (DecodesItself<T> || std::is_arithmetic_v<T> || std::same_as<T, std::string> || SystemTime<T> ||
                std::same_as<T, std::monostate>) {
    return !std::is_const_v<T>;
  } else if constexpr (std::is_enum_v<T>) {
    return true;
  } else if constexpr (isOptional<T> || isPointer<T>) {
    return !std::is_const_v<T> && canBeDecoded<OptionalValue<T>>();
  } else if constexpr (isArray<T> || Sequence<T> || Set<T>) {
    return canBeDecoded<typename T::value_type>();
  } else if constexpr (TextMap<T>) {
    return canBeDecoded<typename T::mapped_type>();
  } else if constexpr (isVariant<T>) {
    return canAllBeDecoded(std::type_identity<T>());
  } else {
    return Model<T> && !std::is_const_v<T>;
  }
}

template <class Model, auto member, class Type>
inline constexpr bool canOverwriteMember = !std::is_const_v<Type>;
template <class Model, auto member, class Type>
inline constexpr bool canDecodeMember = canBeDecoded<std::remove_const_t<Type>>();

/// The compiler shows the arguments when the check fails.
template <class Model, auto member, class Type>
constexpr bool checkMemberCanBeDecoded() {
  static_assert(canOverwriteMember<Model, member, Type>,
                "JSON cannot be decoded into this member of this model, which is const");
  static_assert(canDecodeMember<Model, member, Type>,
                "JSON cannot be decoded into this member of this model: give its type a JSONCodec with `decode`");
  return canOverwriteMember<Model, member, Type> && canDecodeMember<Model, member, Type>;
}

template <class T>
constexpr std::uint8_t kindsOf();

template <class... Types>
constexpr std::uint8_t kindsOfAll(std::type_identity<std::variant<Types...>>) {
  return static_cast<std::uint8_t>((kindsOf<Types>() | ...));
}

template <class T>
constexpr std::uint8_t kindsOf() {
  constexpr auto bit = [](JSONKind kind) { return static_cast<std::uint8_t>(1U << static_cast<unsigned>(kind)); };
  if constexpr (requires { JSONCodec<T>::kind; }) {
    return bit(JSONCodec<T>::kind);
  } else if constexpr (DecodesItself<T>) {
    return UINT8_MAX;
  } else if constexpr (isVariant<T>) {
    return kindsOfAll(std::type_identity<T>());
  } else if constexpr (std::same_as<T, bool>) {
    return bit(JSONKind::boolean);
  } else if constexpr (std::is_arithmetic_v<T>) {
    return bit(JSONKind::number);
  } else if constexpr (std::is_enum_v<T>) {
    return HasJSONNames<T> ? bit(JSONKind::string) : kindsOf<std::underlying_type_t<T>>();
  } else if constexpr (std::same_as<T, std::string>) {
    return bit(JSONKind::string);
  } else if constexpr (SystemTime<T>) {
    return bit(JSONKind::string) | bit(JSONKind::number);
  } else if constexpr (std::same_as<T, std::monostate>) {
    return bit(JSONKind::null);
  } else if constexpr (isOptional<T> || isPointer<T>) {
    return kindsOf<OptionalValue<T>>() | bit(JSONKind::null);
  } else if constexpr (isArray<T> || Sequence<T> || Set<T>) {
    return bit(JSONKind::array);
  } else {
    return bit(JSONKind::object);
  }
}

}  // namespace platform::detail
