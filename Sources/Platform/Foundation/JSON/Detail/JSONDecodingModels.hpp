#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "Platform/Foundation/JSON/Detail/DecodingFieldTable.hpp"
#include "Platform/Foundation/JSON/Detail/JSONDecodingTypes.hpp"
#include "Platform/Foundation/JSON/Detail/JSONValueDecoder.hpp"

/// How models and variants are read: by tables of what their members and alternatives are.

namespace platform::detail {

template <class T>
void decode(JSONReader& reader, T& value);

template <class T>
void decodeErased(JSONReader& reader, void* value) {
  decode(reader, *static_cast<T*>(value));
}
template <class T>
void makeAbsent(void* value) {
  static_cast<T*>(value)->reset();
}

template <class T>
const DecodingFieldTable& decodingFieldTable();

template <class T>
constexpr JSONDecoding makeDecoding() {
  JSONDecoding decoding{&decodeErased<T>, nullptr, kindsOf<T>(), nullptr};
  if constexpr (DecodesItself<T>) return decoding;
  // What is compiled in the library anyway is called there, without a stop on the way.
  if constexpr (isDecodedInLibrary<T>) decoding.decode = &JSONValueDecoder::decodeErased<T>;
  if constexpr ((isOptional<T> || isPointer<T>) && !DecodesItself<T>) {
    decoding.makeAbsent = &makeAbsent<T>;
    decoding.fieldTable = makeDecoding<OptionalValue<T>>().fieldTable;
  }
  if constexpr (Model<T> && !DecodesItself<T>) decoding.fieldTable = &decodingFieldTable<T>;
  return decoding;
}
template <class T>
inline constexpr JSONDecoding jsonDecoding = makeDecoding<T>();

template <class T, class... Types, std::size_t... indices>
DecodingFieldTable makeDecodingFieldTable(TypeList<Types...>, std::index_sequence<indices...>) {
  if constexpr ((checkMemberCanBeDecoded<T, memberName<T, indices>(), Types>() && ...)) {
    static constexpr std::array<DecodingFieldTable::Member, sizeof...(Types)> members{DecodingFieldTable::Member{
        memberNames<T>[indices], renamedKey<T>(memberNames<T>[indices]), &jsonDecoding<Types>}...};
    return DecodingFieldTable(members);
  } else {
    return DecodingFieldTable({});
  }
}

template <class T>
const DecodingFieldTable& decodingFieldTable() {
  if constexpr (checkModel<T>()) {
    static const DecodingFieldTable& fieldTable = *new DecodingFieldTable(
        makeDecodingFieldTable<T>(MemberTypes<T>(), std::make_index_sequence<memberCount<T>>()));
    return fieldTable;
  }
  __builtin_unreachable();
}

template <class T>
void decodeModel(JSONReader& reader, T& value) {
  if constexpr (checkModel<T>()) {
    visitMembers(value, [&](auto&... members) {
      void* const fields[] = {const_cast<void*>(static_cast<const void*>(std::addressof(members)))..., nullptr};
      JSONValueDecoder::decodeFields(reader, decodingFieldTable<T>(), fields);
    });
  }
}

template <class... Types>
void decodeVariant(JSONReader& reader, std::variant<Types...>& variant) {
  static_assert(!(isVariant<Types> || ...),
                "A variant in a variant is not told apart: put its alternatives into the outer one");
  static constexpr const JSONDecoding* alternatives[] = {&jsonDecoding<Types>...};
  using Emplace = void* (*)(std::variant<Types...>&);
  static constexpr auto emplace = [](void* object, std::size_t index) {
    return [&]<std::size_t... indices>(std::index_sequence<indices...>) {
      static constexpr Emplace functions[] = {[](std::variant<Types...>& target) -> void* {
        return std::addressof(target.template emplace<indices>(placeholder<Types>()));
      }...};
      return functions[index](*static_cast<std::variant<Types...>*>(object));
    }(std::index_sequence_for<Types...>());
  };
  JSONValueDecoder::decodeVariant(reader, alternatives, sizeof...(Types), &variant, emplace);
}

}  // namespace platform::detail
