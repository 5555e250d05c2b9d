#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/JSON/JSONStrategies.hpp"

namespace platform {

namespace detail {
struct JSONValueEncoder;
}

/// Writes one JSON document (RFC 8259), compactly: no white space; `/` and characters outside of ASCII as they are;
/// quotes, backslashes and control characters escaped, by a letter where JSON has one. A custom codec gets a writer,
/// and writes exactly one value:
///
///     static void encode(const Money& money, JSONWriter& writer) { writer.encode(money.text()); }
///
/// Every function throws `EncodingError` for values that JSON cannot represent. Belongs to the stack of one thread.
class CORVANE_API JSONWriter {
 public:
  /// The maximum depth of nested containers.
  static constexpr std::size_t deepestNesting = 512;

  /// A writer of one document, with these strategies for dates and keys.
  explicit JSONWriter(const JSONStrategies& strategies = {});
  JSONWriter(const JSONWriter&) = delete;
  JSONWriter& operator=(const JSONWriter&) = delete;

  /// Writes a value of any type that can be encoded as JSON.
  template <class T>
  void encode(const T& value);
  void encode(const char* text) { writeString(text); }

  /// The document. The writer cannot be used any more.
  Data finish();
  /// The number of bytes written so far.
  std::size_t count() const { return static_cast<std::size_t>(cursor_ - buffer_.view().data()); }
  /// Throws an `EncodingError` for the value that is being written.
  [[noreturn]] void fail(std::string problem) const;

  /// What the writer was made with.
  const JSONStrategies& strategies() const { return strategies_; }

  class Object;
  class Array;

  // What follows serves the codecs of the standard types.

  /// Writes null.
  void writeNull();
  /// Writes true or false.
  void writeBoolean(bool value);
  /// Writes an integer.
  void writeSigned(std::int64_t value);
  /// Writes an integer.
  void writeUnsigned(std::uint64_t value);
  /// The shortest decimal that reads back as the same number.
  void writeReal(float value);
  void writeReal(double value);
  void writeReal(long double value);
  /// Writes a string, with escapes where they are needed. Throws for text that is not UTF-8.
  void writeString(std::string_view text);
  /// Text that is JSON already.
  void writeRaw(std::string_view json);

 private:
  friend struct detail::JSONValueEncoder;

  struct PathNode {
    enum class Step : std::uint8_t { none, key, index };

    const PathNode* parent = nullptr;
    std::string_view key;
    std::size_t index = 0;
    Step step = Step::none;
  };

  /// Room for that many bytes at the cursor, and after them for all closing brackets.
  char* need(std::size_t count) {
    if (end_ - cursor_ < static_cast<std::ptrdiff_t>(count)) grow(count);
    return cursor_;
  }
  void grow(std::size_t count);
  void put(char c) {
    *need(1) = c;
    ++cursor_;
  }
  void open(char bracket, PathNode& node);
  void close(char bracket, const PathNode& node) noexcept;

  Data buffer_;
  char* cursor_ = nullptr;
  char* end_ = nullptr;
  const PathNode* node_ = nullptr;
  std::size_t depth_ = 0;
  const JSONStrategies strategies_;
};

/// Writes an object, member by member, and closes it when it goes out of scope:
///
///     JSONWriter::Object object(writer);
///     object.key("amount");
///     writer.encode(amount);
///
/// Each key is followed by exactly one value; it is written as it is, whatever the key strategy.
class CORVANE_API JSONWriter::Object {
 public:
  /// Begins the object.
  explicit Object(JSONWriter& writer);
  ~Object();
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  /// Writes a key. Call it before the value of each member.
  void key(std::string_view key);

 private:
  JSONWriter& writer_;
  PathNode node_;
  std::string key_;
};

/// Writes an array, element by element, and closes it when it goes out of scope. Call `element()` before each element.
class CORVANE_API JSONWriter::Array {
 public:
  /// Begins the array.
  explicit Array(JSONWriter& writer);
  ~Array();
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;

  /// Call it before the value of each element.
  void element();

 private:
  JSONWriter& writer_;
  PathNode node_;
};

}  // namespace platform
