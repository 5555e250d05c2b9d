#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "Platform/Foundation/JSON/DecodingFieldTable.hpp"
#include "Platform/Foundation/JSON/Detail/JSONTypes.hpp"
#include "Platform/Foundation/JSON/JSONReader.hpp"

/// How each C++ type is read.

namespace platform {

namespace detail {

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
  // What is compiled in the library anyway is called there, without a stop on the way.
  if constexpr (DecodesItself<T>) {
    return decoding;
  } else if constexpr (std::same_as<T, std::string>) {
    decoding.decode = &JSONReader::decodeString;
  } else if constexpr (std::same_as<T, double>) {
    decoding.decode = &JSONReader::decodeDouble;
  } else if constexpr (std::same_as<T, bool>) {
    decoding.decode = &JSONReader::decodeBoolean;
  } else if constexpr (std::same_as<T, std::int32_t> || std::same_as<T, std::uint32_t> ||
                       std::same_as<T, std::int64_t> || std::same_as<T, std::uint64_t>) {
    decoding.decode = &JSONReader::decodeInteger<T>;
  }
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
      reader.readFields(decodingFieldTable<T>(), fields);
    });
  }
}

template <class T>
void decodeSequence(JSONReader& reader, T& sequence) {
  using Element = typename T::value_type;
  sequence.clear();
  for (JSONReader::Array array(reader); array.next();) {
    if constexpr (std::is_default_constructible_v<Element> &&
                  requires { requires std::same_as<decltype(sequence.emplace_back()), Element&>; }) {
      // Most lists are short, and small elements are cheap to have room for.
      if constexpr (sizeof(Element) <= 64 && requires { sequence.reserve(4); }) {
        if (sequence.capacity() == 0) sequence.reserve(4);
      }
      decode(reader, sequence.emplace_back());
    } else {
      auto element = placeholder<Element>();
      decode(reader, element);
      sequence.push_back(std::move(element));
    }
  }
}

template <class T>
void decodeSet(JSONReader& reader, T& set) {
  set.clear();
  for (JSONReader::Array array(reader); array.next();) {
    auto element = placeholder<typename T::value_type>();
    decode(reader, element);
    set.insert(std::move(element));
  }
}

template <class T>
void decodePointer(JSONReader& reader, T& pointer) {
  using Value = OptionalValue<T>;
  auto value = std::make_unique<Value>(placeholder<Value>());
  decode(reader, *value);
  pointer = std::move(value);
}

template <class T>
void decodeArray(JSONReader& reader, T& elements) {
  std::size_t count = 0;
  for (JSONReader::Array array(reader); array.next(); ++count) {
    if (count < elements.size()) decode(reader, elements[count]);
  }
  if (count != elements.size()) reader.failCount(elements.size(), count);
}

template <class T>
void decodeMap(JSONReader& reader, T& map) {
  using Value = typename T::mapped_type;
  map.clear();
  for (JSONReader::Object object(reader); object.next();) {
    std::string key(object.key());
    auto value = placeholder<Value>();
    decode(reader, value);
    map.insert_or_assign(std::move(key), std::move(value));
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
  reader.readVariant(alternatives, sizeof...(Types), &variant, emplace);
}

template <class T>
void decodeName(JSONReader& reader, T& value) {
  const auto name = reader.decode<std::string>();
  for (const JSONName<T>& known : JSONCodec<T>::names) {
    if (known.name != name) continue;
    value = known.value;
    return;
  }
  reader.fail("\"" + name + "\" is no name of this enumeration");
}

template <Integer T>
void decodeInteger(JSONReader& reader, T& value) {
  using Bits = std::conditional_t<
      sizeof(T) == 1, std::int8_t,
      std::conditional_t<sizeof(T) == 2, std::int16_t, std::conditional_t<sizeof(T) == 4, std::int32_t, std::int64_t>>>;
  std::conditional_t<std::is_signed_v<T>, Bits, std::make_unsigned_t<Bits>> number;
  reader.readInteger(number);
  value = static_cast<T>(number);
}

template <class T>
void decode(JSONReader& reader, T& value) {
  if constexpr (DecodesItself<T>) {
    const std::size_t start = reader.position();
    value = JSONCodec<T>::decode(reader);
    if (reader.position() == start) reader.skip();
  } else if constexpr (std::same_as<T, bool>) {
    reader.readBoolean(value);
  } else if constexpr (Integer<T>) {
    decodeInteger(reader, value);
  } else if constexpr (std::floating_point<T>) {
    reader.readReal(value);
  } else if constexpr (std::same_as<T, std::string>) {
    reader.readString(value);
  } else if constexpr (HasJSONNames<T>) {
    decodeName(reader, value);
  } else if constexpr (std::is_enum_v<T>) {
    std::underlying_type_t<T> number{};
    decode(reader, number);
    value = static_cast<T>(number);
  } else if constexpr (std::same_as<T, std::monostate>) {
    if (!reader.takeNull()) reader.failMismatch("null");
  } else if constexpr (isOptional<T>) {
    if (reader.takeNull()) {
      value.reset();
    } else {
      decode(reader, value.emplace(placeholder<typename T::value_type>()));
    }
  } else if constexpr (isPointer<T>) {
    if (reader.takeNull()) {
      value.reset();
    } else {
      decodePointer(reader, value);
    }
  } else if constexpr (isVariant<T>) {
    decodeVariant(reader, value);
  } else if constexpr (isArray<T>) {
    decodeArray(reader, value);
  } else if constexpr (Sequence<T>) {
    decodeSequence(reader, value);
  } else if constexpr (Set<T>) {
    decodeSet(reader, value);
  } else if constexpr (TextMap<T>) {
    decodeMap(reader, value);
  } else if constexpr (SystemTime<T>) {
    using Duration = typename T::duration;
    const std::int64_t count = reader.readTime(Duration::period::num, Duration::period::den);
    if (!std::in_range<typename T::rep>(count)) reader.fail("the date is out of range");
    value = T(Duration(static_cast<typename T::rep>(count)));
  } else {
    static_assert(Model<T>, "JSON cannot be decoded into this type: give it a JSONCodec with `decode`");
    if constexpr (Model<T>) decodeModel(reader, value);
  }
}

}  // namespace detail

/// A type that JSON is decoded into: numbers, booleans, text, enumerations, optionals, sequences, sets, arrays,
/// maps from text, variants, pointers that own their value, dates, plain structs of these, and types with a
/// `JSONCodec`. The members of a struct are looked at when it is decoded.
template <class T>
concept JSONReadable = detail::canBeDecoded<T>();

template <class T>
T JSONReader::decode() {
  static_assert(JSONReadable<T>, "JSON cannot be decoded into this type: give it a JSONCodec with `decode`");
  if constexpr (JSONReadable<T>) {
    auto value = detail::placeholder<T>();
    detail::decode(*this, value);
    return value;
  } else {
    return detail::valueOfNoType<T>();
  }
}

template <class T>
std::optional<T> JSONReader::decodeIfValid() {
  const char* const start = cursor_;
  try {
    return decode<T>();
  } catch (const DecodingError&) {
    // The containers that were entered are left by now; only the text is to be gone back in.
    cursor_ = start;
  }
  skip();
  return std::nullopt;
}

}  // namespace platform
