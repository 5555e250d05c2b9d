#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <variant>

#include "Platform/Foundation/JSON/Detail/JSONMembers.hpp"
#include "Platform/Foundation/JSON/JSONCodec.hpp"

/// Which C++ types stand for which kinds of JSON values.

namespace platform::detail {

template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;

template <class T>
inline constexpr bool isArray = false;
template <class T, std::size_t count>
inline constexpr bool isArray<std::array<T, count>> = true;

template <class T>
inline constexpr bool isVariant = false;
template <class... Alternatives>
inline constexpr bool isVariant<std::variant<Alternatives...>> = true;

/// `std::unique_ptr` and `std::shared_ptr`, without the kinds that refer to something else.
template <class T>
inline constexpr bool isPointer = false;
template <class T>
inline constexpr bool isPointer<std::unique_ptr<T>> = std::is_object_v<T> && !std::is_array_v<T>;
template <class T>
inline constexpr bool isPointer<std::shared_ptr<T>> = std::is_object_v<T> && !std::is_array_v<T>;

/// What is null in a document where it is absent, and what it holds otherwise.
template <class T>
struct ValueOfOptional {};
template <class T>
struct ValueOfOptional<std::optional<T>> {
  using Type = T;
};
template <class T>
struct ValueOfOptional<std::unique_ptr<T>> {
  using Type = std::remove_const_t<T>;
};
template <class T>
struct ValueOfOptional<std::shared_ptr<T>> {
  using Type = std::remove_const_t<T>;
};
template <class T>
using OptionalValue = typename ValueOfOptional<T>::Type;

template <class T>
concept Integer = std::integral<T> && !std::same_as<T, bool> && sizeof(T) <= sizeof(std::int64_t);

/// `std::vector`, `std::deque` and `std::list`, told by what they offer, so that their headers are not needed. Strings
/// of all kinds are none.
template <class T>
concept Sequence = !requires { typename T::traits_type; } && requires(T& sequence, typename T::value_type element) {
  sequence.clear();
  sequence.push_back(std::move(element));
  sequence.begin();
};

/// `std::set` and `std::unordered_set`.
template <class T>
concept Set = !requires { typename T::mapped_type; } && requires(T& set, typename T::key_type element) {
  set.clear();
  set.insert(std::move(element));
  set.begin();
};

/// `std::map` and `std::unordered_map` with text as their keys.
template <class T>
concept TextMap = requires(T& map, typename T::key_type key, typename T::mapped_type value) {
  requires std::same_as<typename T::key_type, std::string>;
  map.clear();
  map.insert_or_assign(key, std::move(value));
};

/// `std::chrono::sys_time` of any precision.
template <class T>
concept SystemTime = requires(const T& time, const typename T::duration& duration) {
  T::clock::to_time_t(typename T::clock::time_point());
  duration.count();
  time.time_since_epoch();
  requires std::integral<typename T::rep>;
};

/// A plain struct, seen from outside; its members are checked when it is used.
template <class T>
concept Model = std::is_class_v<T> && std::is_aggregate_v<T> && !isArray<T> && !Sequence<T> && !TextMap<T> &&
                !std::same_as<T, Anything>;

template <class T>
constexpr bool canBeDecoded();
template <class T>
constexpr bool checkModel();

template <class T>
inline constexpr bool hasInitialValue = requires { T{}; };

/// Stands where the compiler has complained already.
template <class T>
T valueOfNoType();

/// A value to decode into. Members are set one by one, as nothing but their types is known.
template <class T>
T placeholder();

template <class... Types, class T>
T placeholderOfModel(TypeList<Types...>, std::type_identity<T>) {
  return T{placeholder<std::remove_const_t<Types>>()...};
}

template <class T, std::size_t... indices>
T placeholderOfArray(std::index_sequence<indices...>) {
  return {(static_cast<void>(indices), placeholder<typename T::value_type>())...};
}

template <class T>
T placeholder() {
  if constexpr (HasPlaceholder<T>) {
    return JSONCodec<T>::placeholder();
  } else if constexpr (requires { T{}; }) {
    return T{};
  } else if constexpr (Model<T>) {
    if constexpr (checkModel<T>()) {
      return placeholderOfModel(MemberTypes<T>(), std::type_identity<T>());
    } else {
      return valueOfNoType<T>();
    }
  } else if constexpr (isVariant<T>) {
    return T(std::in_place_index<0>, placeholder<std::variant_alternative_t<0, T>>());
  } else if constexpr (isArray<T>) {
    return placeholderOfArray<T>(std::make_index_sequence<std::tuple_size_v<T>>());
  } else {
    static_assert(hasInitialValue<T> || !canBeDecoded<T>(),
                  "A type that JSON is decoded into has a default constructor, or a `placeholder()` in its JSONCodec");
    return valueOfNoType<T>();
  }
}

/// The key of a member: without text, not even an empty one, where it follows from the name.
template <class T>
constexpr std::string_view renamedKey(std::string_view member) {
  if constexpr (HasJSONKeys<T>) {
    for (const JSONKey& key : JSONCodec<T>::keys) {
      if (key.member == member) return key.key;
    }
  }
  return {};
}

template <class T>
constexpr bool renamesOnlyMembers() {
  if constexpr (HasJSONKeys<T>) {
    for (const JSONKey& key : JSONCodec<T>::keys) {
      bool isMember = false;
      for (const std::string_view name : memberNames<T>) isMember = isMember || name == key.member;
      if (!isMember) return false;
    }
  }
  return true;
}

template <class T>
inline constexpr bool hasNoBase = !hasBase<T>;
template <class T>
inline constexpr bool isCountable = memberCount<T> != uncountable;
template <class T>
inline constexpr bool hasFewEnoughMembers = memberCount<T> <= mostMembers || memberCount<T> == uncountable;
template <class T>
inline constexpr bool hasMembersOneByOne = hasNoBase<T> && memberCount<T> <= mostMembers;

template <class T>
constexpr bool checkMembers() {
  static_assert(!hasArray<T>, "A JSON model has no C array: use std::array or std::vector");
  if constexpr (!hasArray<T>) {
    static_assert(!hasBitField<T>, "A JSON model has no bit-fields: give the member a type of its own size");
    if constexpr (!hasBitField<T>) {
      static_assert(!hasReference<T>,
                    "A JSON model has no reference among its members: hold the value, or a std::shared_ptr");
    }
    if constexpr (!hasBitField<T> && !hasReference<T>) {
      static_assert(renamesOnlyMembers<T>(), "`keys` of a JSONCodec names a member that the model does not have");
      return renamesOnlyMembers<T>();
    }
  }
  return false;
}

/// What a model must fulfil to be taken apart.
template <class T>
constexpr bool checkModel() {
  static_assert(hasNoBase<T>, "A JSON model has no base class, or a JSONCodec of its own");
  static_assert(isCountable<T>,
                "A JSON model has no reference among its members: hold the value, or a std::shared_ptr");
  static_assert(hasFewEnoughMembers<T>, "A JSON model has at most 64 members, or a JSONCodec of its own");
  if constexpr (hasMembersOneByOne<T>) return checkMembers<T>();
  return false;
}

/// The name of a member as an argument of templates, so that messages of the compiler show it.
template <std::size_t size>
struct MemberName {
  char text[size + 1] = {};
};
template <class Model, std::size_t index>
constexpr auto memberName() {
  constexpr std::string_view text = memberNames<Model>[index];
  MemberName<text.size()> name;
  // Clang shows as text only what was written to the last character.
  for (std::size_t place = 0; place <= text.size(); ++place)
    name.text[place] = place < text.size() ? text[place] : '\0';
  return name;
}

}  // namespace platform::detail
