#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <variant>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace platform {

class Dictionary;

/// The plain name of a type as a C++ programmer writes it, e.g. "app::User".
CORVANE_API std::string typeName(const std::type_info& type);
template <class T>
std::string typeName() {
  return typeName(typeid(T));
}

/// A type as a value: what `malformedData` and friends carry.
struct TypeValue {
  const std::type_info* type = &typeid(void);
  std::string name() const { return typeName(*type); }
  friend bool operator==(const TypeValue& left, const TypeValue& right) { return *left.type == *right.type; }
};

template <class T>
concept StreamPrintable = requires(std::ostream& stream, const T& value) { stream << value; };

/// A value of any printable kind: numbers, booleans, text, bytes, nested dictionaries and lists, types, a
/// deferred dictionary, and anything with an `operator<<`. Used for header and query values, user
/// information of errors and log records, and bundle information.
class CORVANE_API AnyValue {
 public:
  using List = std::vector<AnyValue>;
  /// A dictionary that is made when somebody asks for it.
  using Deferred = std::function<Dictionary()>;

  AnyValue() noexcept = default;
  AnyValue(bool value) : storage_(value) {}  // NOLINT(google-explicit-constructor): this is the point of the type
  template <std::signed_integral T>
  AnyValue(T value) : storage_(static_cast<std::int64_t>(value)) {}
  template <std::unsigned_integral T>
    requires(!std::same_as<T, bool>)
  AnyValue(T value) : storage_(static_cast<std::uint64_t>(value)) {}
  AnyValue(double value) : storage_(value) {}
  AnyValue(float value);
  AnyValue(const char* text) : storage_(std::string(text)) {}
  AnyValue(std::string_view text) : storage_(std::string(text)) {}
  AnyValue(std::string text) : storage_(std::move(text)) {}
  AnyValue(Data data) : storage_(std::move(data)) {}
  AnyValue(TypeValue type) : storage_(type) {}
  AnyValue(Dictionary dictionary);
  AnyValue(List list);
  AnyValue(Deferred deferred) : storage_(std::move(deferred)) {}
  /// Anything printable; it is rendered once, now.
  template <class T>
    requires(StreamPrintable<T> && !std::is_arithmetic_v<T> && !std::convertible_to<const T&, std::string_view> &&
             !std::same_as<T, AnyValue> && !std::convertible_to<const T&, const char*>)
  AnyValue(const T& value)  // NOLINT(google-explicit-constructor)
      : storage_(render(&value, [](std::ostream& stream, const void* object) { stream << *static_cast<const T*>(object); })) {}

  bool isNull() const { return std::holds_alternative<std::monostate>(storage_); }
  bool isText() const { return std::holds_alternative<std::string>(storage_); }

  /// The value as text, the way it is written into a header or a query: text as it is, integers in
  /// decimal, doubles as the shortest decimal that reads back the same (a whole double keeps ".0"),
  /// booleans as "true" and "false", lists as "[a, b]", dictionaries as "[key: value, …]".
  std::string description() const;

  const std::string* text() const { return std::get_if<std::string>(&storage_); }
  std::optional<bool> boolean() const;
  std::optional<std::int64_t> integer() const;
  std::optional<double> number() const;
  const Data* data() const { return std::get_if<Data>(&storage_); }
  const TypeValue* type() const { return std::get_if<TypeValue>(&storage_); }
  const Dictionary* dictionary() const;
  const List* list() const;
  const Deferred* deferred() const { return std::get_if<Deferred>(&storage_); }

  /// Equal kind and equal content; deferred dictionaries are never equal.
  friend CORVANE_API bool operator==(const AnyValue& left, const AnyValue& right);

 private:
  using Print = void (*)(std::ostream&, const void*);
  static std::string render(const void* object, Print print);

  std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string, Data, TypeValue,
               std::shared_ptr<const Dictionary>, std::shared_ptr<const List>, Deferred>
      storage_;
};

}  // namespace platform
