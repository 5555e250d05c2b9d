#pragma once

#include <memory>
#include <string>
#include <utility>

#include "Platform/Foundation/JSON/Detail/EncodingFieldTable.hpp"
#include "Platform/Foundation/JSON/Detail/JSONTypes.hpp"
#include "Platform/Foundation/JSON/Detail/JSONValueEncoder.hpp"
#include "Platform/Foundation/JSON/JSONWriter.hpp"

/// How each C++ type is written.

namespace platform {

namespace detail {

template <class T>
constexpr bool canBeEncoded();

template <class... Types>
constexpr bool canAllBeEncoded(std::type_identity<std::variant<Types...>>) {
  return (canBeEncoded<Types>() && ...);
}

/// Members of models are not looked at.
template <class T>
constexpr bool canBeEncoded() {
  if constexpr (EncodesItself<T> || std::is_arithmetic_v<T> || std::same_as<T, std::string> ||
                std::same_as<T, std::string_view> || SystemTime<T> || std::same_as<T, std::monostate>) {
    return true;
  } else if constexpr (std::is_enum_v<T>) {
    return true;
  } else if constexpr (isOptional<T> || isPointer<T>) {
    return canBeEncoded<OptionalValue<T>>();
  } else if constexpr (isArray<T> || Sequence<T> || Set<T>) {
    return canBeEncoded<typename T::value_type>();
  } else if constexpr (TextMap<T>) {
    return canBeEncoded<typename T::mapped_type>();
  } else if constexpr (isVariant<T>) {
    return canAllBeEncoded(std::type_identity<T>());
  } else {
    return Model<T>;
  }
}

template <class Model, auto member, class Type>
inline constexpr bool canEncodeMember = canBeEncoded<Type>();

/// The compiler shows the arguments when the check fails.
template <class Model, auto member, class Type>
constexpr bool checkMemberCanBeEncoded() {
  static_assert(canEncodeMember<Model, member, Type>,
                "This member of this model cannot be encoded as JSON: give its type a JSONCodec with `encode`");
  return canEncodeMember<Model, member, Type>;
}

template <class T>
void encode(JSONWriter& writer, const T& value);

template <class T>
void encodeErased(JSONWriter& writer, const void* value) {
  encode(writer, *static_cast<const T*>(value));
}
template <class T>
bool isAbsent(const void* value) {
  return !*static_cast<const T*>(value);
}

template <class T>
constexpr JSONEncoding makeEncoding() {
  JSONEncoding encoding{&encodeErased<T>, nullptr};
  if constexpr ((isOptional<T> || isPointer<T>) && !EncodesItself<T>) encoding.isAbsent = &isAbsent<T>;
  return encoding;
}
template <class T>
inline constexpr JSONEncoding jsonEncoding = makeEncoding<T>();

template <class T, class... Types, std::size_t... indices>
EncodingFieldTable makeEncodingFieldTable(TypeList<Types...>, std::index_sequence<indices...>) {
  if constexpr ((checkMemberCanBeEncoded<T, memberName<T, indices>(), std::remove_const_t<Types>>() && ...)) {
    static constexpr std::array<EncodingFieldTable::Member, sizeof...(Types)> members{EncodingFieldTable::Member{
        memberNames<T>[indices], renamedKey<T>(memberNames<T>[indices]), &jsonEncoding<std::remove_const_t<Types>>}...};
    return EncodingFieldTable(members);
  } else {
    return EncodingFieldTable({});
  }
}

template <class T>
const EncodingFieldTable& encodingFieldTable() {
  if constexpr (checkModel<T>()) {
    static const EncodingFieldTable& fieldTable = *new EncodingFieldTable(
        makeEncodingFieldTable<T>(MemberTypes<T>(), std::make_index_sequence<memberCount<T>>()));
    return fieldTable;
  }
  __builtin_unreachable();
}

template <class T>
void encodeModel(JSONWriter& writer, const T& value) {
  if constexpr (checkModel<T>()) {
    visitMembers(value, [&](const auto&... members) {
      const void* const fields[] = {std::addressof(members)..., nullptr};
      JSONValueEncoder::encodeFields(writer, encodingFieldTable<T>(), fields);
    });
  }
}

template <class T>
void encodeSequence(JSONWriter& writer, const T& sequence) {
  JSONWriter::Array array(writer);
  for (const auto& element : sequence) {
    array.element();
    encode<typename T::value_type>(writer, element);
  }
}

template <class T>
void encodeMap(JSONWriter& writer, const T& map) {
  JSONWriter::Object object(writer);
  for (const auto& [key, value] : map) {
    object.key(key);
    encode(writer, value);
  }
}

template <class T>
void encodeName(JSONWriter& writer, const T& value) {
  for (const JSONName<T>& known : JSONCodec<T>::names) {
    if (known.value == value) return writer.writeString(known.name);
  }
  writer.fail("the enumeration has no name for the value " +
              std::to_string(static_cast<std::underlying_type_t<T>>(value)));
}

template <class T>
void encode(JSONWriter& writer, const T& value) {
  if constexpr (EncodesItself<T>) {
    const std::size_t start = writer.count();
    JSONCodec<T>::encode(value, writer);
    if (writer.count() == start) writer.fail("the codec of the type wrote no value");
  } else if constexpr (std::same_as<T, bool>) {
    writer.writeBoolean(value);
  } else if constexpr (Integer<T>) {
    if constexpr (std::is_signed_v<T>) {
      writer.writeSigned(value);
    } else {
      writer.writeUnsigned(value);
    }
  } else if constexpr (std::floating_point<T>) {
    writer.writeReal(value);
  } else if constexpr (std::same_as<T, std::string> || std::same_as<T, std::string_view>) {
    writer.writeString(value);
  } else if constexpr (HasJSONNames<T>) {
    encodeName(writer, value);
  } else if constexpr (std::is_enum_v<T>) {
    encode(writer, static_cast<std::underlying_type_t<T>>(value));
  } else if constexpr (std::same_as<T, std::monostate>) {
    writer.writeNull();
  } else if constexpr (isOptional<T> || isPointer<T>) {
    if (value) {
      encode(writer, *value);
    } else {
      writer.writeNull();
    }
  } else if constexpr (isVariant<T>) {
    std::visit([&](const auto& alternative) { encode(writer, alternative); }, value);
  } else if constexpr (isArray<T> || Sequence<T> || Set<T>) {
    encodeSequence(writer, value);
  } else if constexpr (TextMap<T>) {
    encodeMap(writer, value);
  } else if constexpr (SystemTime<T>) {
    using Period = typename T::duration::period;
    JSONValueEncoder::encodeTime(writer, value.time_since_epoch().count(), Period::num, Period::den);
  } else {
    static_assert(Model<T>, "This type cannot be encoded as JSON: give it a JSONCodec with `encode`");
    if constexpr (Model<T>) encodeModel(writer, value);
  }
}

}  // namespace detail

/// A type that can be written as JSON: what `JSONReadable` lists, and `std::string_view`.
///
///     static_assert(JSONWritable<std::vector<User>>);
template <class T>
concept JSONWritable = detail::canBeEncoded<T>();

template <class T>
void JSONWriter::encode(const T& value) {
  static_assert(JSONWritable<T>, "This type cannot be encoded as JSON: give it a JSONCodec with `encode`");
  if constexpr (JSONWritable<T>) detail::encode(*this, value);
}

}  // namespace platform
