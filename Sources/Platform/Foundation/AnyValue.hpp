#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/TypeName.hpp"

namespace platform {

class Dictionary;

/// A dictionary that is created on demand, by calling this value. Copies share the function.
///
///     const DeferredDictionary details([] { return Dictionary{{"answer", 42}}; });  // made when it is logged
class CORVANE_API DeferredDictionary {
 public:
  /// Keeps the function. It is called at each demand, on the thread that demands the dictionary.
  template <class Function>
    requires(std::is_invocable_v<const std::decay_t<Function>&> &&
             !std::same_as<std::decay_t<Function>, DeferredDictionary>)
  DeferredDictionary(Function&& make)  // NOLINT(google-explicit-constructor): a function is a deferred dictionary
      : maker_(std::make_shared<const MakerOf<std::decay_t<Function>>>(std::forward<Function>(make))) {}

  /// Creates the dictionary.
  Dictionary operator()() const;

 private:
  struct CORVANE_API Maker {
    virtual ~Maker();
    virtual void make(Dictionary& made) const = 0;
  };
  template <class Function>
  struct MakerOf final : Maker {
    explicit MakerOf(Function maker) : function(std::move(maker)) {}
    void make(Dictionary& made) const override { made = function(); }
    Function function;
  };
  std::shared_ptr<const Maker> maker_;
};

/// A type with an `operator<<`.
///
///     static_assert(StreamPrintable<std::string>);
template <class T>
concept StreamPrintable = requires(std::ostream& stream, const T& value) { stream << value; };

/// A value of any printable kind: numbers, booleans, text, bytes, nested dictionaries and lists, types, a deferred
/// dictionary, and any type with an `operator<<`. Used for header and query values, user information of errors and log
/// records, and bundle information.
///
/// A small value type: copies share text, bytes and nested values. Safe to read on several threads.
///
/// | You write | You get |
/// |---|---|
/// | `true` | a boolean |
/// | any integer, also of a fixed width | an integer |
/// | a floating-point number | a real number; a `float` by its shortest decimal, so 0.1f is 0.1 |
/// | `'c'` | text of one character |
/// | `"…"`, `std::string`, `std::string_view` | text |
/// | `nullptr`, a null `const char*` | null |
/// | another pointer, `wchar_t` or `char16_t` and the like | does not compile |
/// | any other type with an `operator<<` | the text that it prints, rendered once, at construction |
class CORVANE_API AnyValue {
 public:
  /// A nested list.
  using List = std::vector<AnyValue>;
  /// A nested dictionary that is created on demand.
  using Deferred = DeferredDictionary;

  AnyValue() noexcept = default;
  AnyValue(const AnyValue& other) noexcept = default;
  /// Leaves `other` null.
  AnyValue(AnyValue&& other) noexcept
      : kind_(std::exchange(other.kind_, Kind::null)), small_(other.small_), large_(std::move(other.large_)) {}
  AnyValue& operator=(const AnyValue& other) noexcept = default;
  AnyValue& operator=(AnyValue&& other) noexcept {
    AnyValue taken(std::move(other));
    kind_ = taken.kind_;
    small_ = taken.small_;
    large_.swap(taken.large_);
    return *this;
  }
  ~AnyValue() = default;
  AnyValue(std::nullptr_t) noexcept {}  // NOLINT(google-explicit-constructor): conversions are the point of the type
  template <std::same_as<bool> T>
  AnyValue(T value) noexcept : kind_(Kind::boolean), small_{.boolean = value} {}
  template <std::signed_integral T>
    requires(sizeof(T) <= sizeof(std::int64_t) && !std::same_as<T, char> && !std::same_as<T, wchar_t>)
  AnyValue(T value) noexcept : kind_(Kind::integer), small_{.integer = value} {}
  template <std::unsigned_integral T>
    requires(sizeof(T) <= sizeof(std::uint64_t) && !std::same_as<T, bool> && !std::same_as<T, char> &&
             !std::same_as<T, wchar_t> && !std::same_as<T, char8_t> && !std::same_as<T, char16_t> &&
             !std::same_as<T, char32_t>)
  AnyValue(T value) noexcept {
    setUnsigned(value);
  }
  template <std::same_as<char> T>
  AnyValue(T character) : AnyValue(std::string_view(&character, 1)) {}
  AnyValue(double value) noexcept : kind_(Kind::real), small_{.real = value} {}
  AnyValue(float value);
  AnyValue(const char* text);
  AnyValue(std::string_view text);
  AnyValue(std::string text);
  AnyValue(Data data);
  AnyValue(TypeValue type);
  AnyValue(Dictionary dictionary);
  AnyValue(List list);
  AnyValue(Deferred deferred);
  template <class T>
    requires(!std::same_as<std::remove_cv_t<T>, char>)
  AnyValue(T*) = delete;
  template <class T>
    requires(StreamPrintable<T> && !std::is_arithmetic_v<T> && !std::is_pointer_v<T> && !std::is_array_v<T> &&
             !std::convertible_to<const T&, std::string_view> && !std::is_invocable_v<const T&>)
  AnyValue(const T& value) : AnyValue(render(&value, &print<T>)) {}

  /// Whether it is null.
  bool isNull() const noexcept { return kind_ == Kind::null; }
  /// Whether it is text.
  bool isText() const noexcept { return kind_ == Kind::text; }

  /// The value as text, as it is written into a header or a query: text as it is, integers in decimal, booleans as
  /// "true" and "false", null as "null", bytes as their number ("5 bytes"), types by name, lists as "[a, b]",
  /// dictionaries as "[key: value, …]" ("[:]" when empty); deferred ones are created first. Real numbers are the
  /// shortest decimal that reads back the same; a whole one keeps ".0", and an exponent is written below 0.0001 and
  /// above 2^54, e.g. "1e-05".
  std::string description() const;

  /// The text. This and the functions below return null or absent when the value is of another kind. Pointers are valid
  /// as long as this value is unchanged.
  const std::string* text() const noexcept;
  /// The boolean; numbers are not booleans.
  std::optional<bool> boolean() const noexcept;
  /// The integer; absent also above 2^63 - 1, see `unsignedInteger`.
  std::optional<std::int64_t> integer() const noexcept;
  /// The integer, if it is not negative.
  std::optional<std::uint64_t> unsignedInteger() const noexcept;
  /// Any number. Integers that a double cannot represent are rounded.
  std::optional<double> number() const noexcept;
  /// Bytes.
  const Data* data() const noexcept;
  /// A type.
  const TypeValue* type() const noexcept;
  /// The nested dictionary; absent for a deferred one.
  const Dictionary* dictionary() const noexcept;
  /// A nested list.
  const List* list() const noexcept;
  /// The deferred dictionary, not yet created.
  const Deferred* deferred() const noexcept;

  /// Equal kind and equal content; integers of any type by value, real numbers as C++ compares them, deferred
  /// dictionaries never equal.
  friend CORVANE_API bool operator==(const AnyValue& left, const AnyValue& right);

 private:
  // `unsignedInteger` holds only what `integer` cannot.
  enum class Kind : std::uint8_t {
    null,
    boolean,
    integer,
    unsignedInteger,
    real,
    text,
    data,
    type,
    dictionary,
    list,
    deferred
  };
  union Small {
    std::int64_t integer = 0;
    std::uint64_t unsignedInteger;
    double real;
    bool boolean;
  };
  using Print = void (*)(std::ostream&, const void*);
  struct Large;

  template <class T>
  static void print(std::ostream& stream, const void* object) {
    stream << *static_cast<const T*>(object);
  }
  static std::string render(const void* object, Print print);
  void setUnsigned(std::uint64_t value) noexcept {
    kind_ = value > static_cast<std::uint64_t>(INT64_MAX) ? Kind::unsignedInteger : Kind::integer;
    small_.unsignedInteger = value;
    if (kind_ == Kind::integer) small_.integer = static_cast<std::int64_t>(value);
  }

  Kind kind_ = Kind::null;
  Small small_;
  std::shared_ptr<const Large> large_;
};

}  // namespace platform
