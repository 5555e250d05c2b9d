#pragma once

#include <string>
#include <type_traits>
#include <utility>

#include "Platform/Foundation/JSON/JSONEncoder.hpp"

/// Which plain structs can be a form: a list of names and values.
namespace corvane::detail {

/// A type that writes itself shows only in its values what it is.
template <class T>
constexpr bool isFormScalar() {
  using namespace platform::detail;
  return EncodesItself<T> || std::is_arithmetic_v<T> || std::is_enum_v<T> || SystemTime<T> ||
         std::is_same_v<T, std::string> || std::is_same_v<T, std::string_view>;
}

template <class T>
constexpr bool isFormValue() {
  using namespace platform::detail;
  if constexpr (isFormScalar<T>()) {
    return true;
  } else if constexpr (isOptional<T> || isPointer<T>) {
    return isFormValue<OptionalValue<T>>();
  } else if constexpr (isArray<T> || Sequence<T> || Set<T>) {
    return isFormScalar<typename T::value_type>();
  } else {
    return false;
  }
}

template <class Model, auto member, class Type>
inline constexpr bool isMemberOfForm = isFormValue<Type>();

/// The compiler shows the arguments when the check fails.
template <class Model, auto member, class Type>
constexpr bool checkFormMember() {
  static_assert(isMemberOfForm<Model, member, Type>,
                "This member of this model is no value of a form: a form has numbers, Booleans, text and lists of "
                "them, without further levels");
  return isMemberOfForm<Model, member, Type>;
}

template <class Model, class... Types, std::size_t... indices>
constexpr bool checkFormMembers(platform::detail::TypeList<Types...>, std::index_sequence<indices...>) {
  return (checkFormMember<Model, platform::detail::memberName<Model, indices>(), std::remove_const_t<Types>>() && ...);
}

template <class Model>
constexpr bool checkFormModel() {
  using namespace platform::detail;
  constexpr bool hasNames = EncodesItself<Model> || platform::detail::Model<Model> || TextMap<Model>;
  static_assert(hasNames, "A form is made of a plain struct or a map by text, whose members have names");
  if constexpr (!hasNames) {
    return false;
  } else if constexpr (EncodesItself<Model>) {
    return true;
  } else if constexpr (TextMap<Model>) {
    static_assert(isFormValue<typename Model::mapped_type>(),
                  "The values of this map are none of a form: a form has numbers, Booleans, text and lists of them");
    return isFormValue<typename Model::mapped_type>();
  } else if constexpr (checkModel<Model>()) {
    return checkFormMembers<Model>(MemberTypes<Model>(), std::make_index_sequence<memberCount<Model>>());
  } else {
    return false;
  }
}

}  // namespace corvane::detail
