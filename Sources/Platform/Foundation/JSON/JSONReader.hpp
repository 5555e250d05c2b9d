#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/JSON/DecodingError.hpp"
#include "Platform/Foundation/JSON/JSONCodec.hpp"
#include "Platform/Foundation/JSON/JSONStrategies.hpp"

namespace platform {

class DecodingFieldTable;
struct JSONDecoding;

/// Reads a JSON document (RFC 8259) value after value, checking everything it passes. Models with a codec of
/// their own are given one, which stands before their value; they read that value or leave it:
///
///     static Money decode(JSONReader& reader) { return Money::parse(reader.decode<std::string>()); }
///
/// Every function throws `DecodingError` for what is not there as asked for, with the path and the offset. What
/// is nested more than 512 levels deep is refused.
///
/// Lives on the stack of one thread; not copyable.
class CORVANE_API JSONReader {
 public:
  /// How many containers may stand in each other.
  static constexpr std::size_t deepestNesting = 512;

  /// What a value can be.
  using Kind = JSONKind;

  /// Keeps the document, which is shared and not copied.
  explicit JSONReader(Data document, const JSONStrategies& strategies = {});
  JSONReader(const JSONReader&) = delete;
  JSONReader& operator=(const JSONReader&) = delete;

  /// Of the value that comes next, which its first character tells; it is not read.
  Kind kind();
  /// Reads the value that comes next.
  template <class T>
  T decode();
  /// Reads the value that comes next; absent when that is valid JSON but not what `T` is read from, and then passed
  /// over. Throws for what is no JSON. After any other `DecodingError` there is no reading on.
  template <class T>
  std::optional<T> decodeIfValid();
  /// Passes over the value that comes next, which must be valid JSON nevertheless.
  void skip();
  /// Passes over the value that comes next; its text, as it stands in the document and as long as that lives.
  std::string_view readRaw();
  /// Reads a null, if that comes next.
  bool takeNull();
  /// Where the next value starts, in bytes from the start of the document; after the last value, where that ends.
  std::size_t position() {
    next();
    return static_cast<std::size_t>(cursor_ - begin_);
  }

  /// `DecodingError::dataCorrupted` for the value that comes next or was just read.
  [[noreturn]] void fail(std::string problem) const;

  /// What the reader was made with.
  const JSONStrategies& strategies() const { return strategies_; }

  class Object;
  class Array;

  // What follows serves the codecs of the standard types.

  /// Reads a boolean.
  void readBoolean(bool& value);
  template <class Integer>
  void readInteger(Integer& value);
  /// Reads a number, rounded where the type cannot hold it.
  template <class Real>
  void readReal(Real& value);
  /// Reads a string, its escapes resolved.
  void readString(std::string& value);
  /// `readString`, for a table of functions.
  static void decodeString(JSONReader& reader, void* value);
  /// `readReal`, for a table of functions.
  static void decodeDouble(JSONReader& reader, void* value);
  /// `readBoolean`, for a table of functions.
  static void decodeBoolean(JSONReader& reader, void* value);
  /// `readInteger`, for a table of functions.
  template <class Integer>
  static void decodeInteger(JSONReader& reader, void* value);
  /// A date by the strategy, as a count of ticks of `numerator / denominator` seconds since 1970.
  std::int64_t readTime(std::int64_t numerator, std::int64_t denominator);
  /// Reads an object into the members whose addresses these are, in the order of the field table.
  void readFields(const DecodingFieldTable& fieldTable, void* const* fields);
  /// Reads the value with the first of the alternatives that takes it: `emplace(variant, i)` makes alternative
  /// number i and returns its address.
  void readVariant(const JSONDecoding* const* alternatives, std::size_t count, void* variant,
                   void* (*emplace)(void* variant, std::size_t index));
  /// Requires that nothing but white space follows.
  void finish();
  /// The number that comes next, as it is written; it is not passed.
  std::string_view peekNumber();
  /// `DecodingError::typeMismatch`, or `valueNotFound` when a null comes next.
  [[noreturn]] void failMismatch(std::string_view expected);
  /// `DecodingError::dataCorrupted` for an array of the wrong length.
  [[noreturn]] void failCount(std::size_t expected, std::size_t found) const;

 private:
  struct PathNode {
    enum class Step : std::uint8_t { none, key, index };

    const PathNode* parent = nullptr;
    /// Where the container starts.
    const char* start = nullptr;
    std::string_view key;
    std::size_t index = 0;
    Step step = Step::none;
  };
  /// The inside of a container: entered with its first character, left with its last.
  class Scope;

  /// Passes over white space: the character that stands there then, or NUL at the end.
  char next() {
    if (cursor_ < end_ && static_cast<unsigned char>(*cursor_) > ' ') return *cursor_;
    return nextAfterWhiteSpace();
  }
  char nextAfterWhiteSpace();
  /// Whether there is something more in a container: passes the comma, or the closing bracket.
  bool nextInside(char closing, bool isFirst) {
    const char found = next();
    if (found == closing) {
      ++cursor_;
      return false;
    }
    if (isFirst) return true;
    if (found != ',') failToContinue(closing);
    ++cursor_;
    return true;
  }
  void passWord(std::string_view word);
  void passColon();

  std::size_t readMember(const DecodingFieldTable& fieldTable, PathNode& node);
  std::string_view readKey(std::string& unescaped);
  std::string_view readRawString(std::string& unescaped);
  void unescape(std::string& value);
  void unescapeCharacter(std::string& value);
  void unescapeUnicode(const char* start, std::string& value);
  std::uint32_t readHexDigits();
  void passString(std::string& scratch);

  void passNumber();
  std::uint64_t readUnusualInteger(std::uint64_t limit, std::size_t bits, bool isSigned);
  bool takeWholeReal(const char* start, const char* end, std::uint64_t& value);
  void passScalar(char first, std::string& scratch);
  std::size_t chooseByKeys(const JSONDecoding* const* alternatives, const std::vector<std::size_t>& candidates);

  DecodingError::Location whereIs(const char* position) const;
  [[noreturn]] void failAt(const char* position, std::string problem) const;
  [[noreturn]] void failKind(const char* position, std::string problem) const;
  [[noreturn]] void failToContinue(char closing);
  [[noreturn]] void failToFind(std::string_view expected);
  [[noreturn]] void failNumber(const char* position);

  const Data document_;
  const char* const begin_;
  const char* const end_;
  const char* cursor_;
  const PathNode* node_ = nullptr;
  std::size_t depth_ = 0;
  std::size_t bytesLookedThrough_ = 0;
  /// Where the value starts that was gone to last.
  const char* valueStart_;
  const JSONStrategies strategies_;
};

/// Goes through the members of an object, in the order of the document:
///
///     for (JSONReader::Object object(reader); object.next();) {
///       if (object.key() == "amount") amount = reader.decode<double>();
///     }
///
/// A value that is not read is skipped. Where a key stands twice, both are seen. Go through to the last member:
/// leaving early leaves the reader inside of the object.
class CORVANE_API JSONReader::Object {
 public:
  /// Requires that an object comes next, else throws.
  explicit Object(JSONReader& reader);
  ~Object();
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  /// To the next member; false after the last.
  bool next();
  /// Of the member that `next` went to; valid until `next` is called again.
  std::string_view key() const { return node_.key; }

 private:
  JSONReader& reader_;
  PathNode node_;
  const char* valueStart_ = nullptr;
  std::string unescapedKey_;
};

/// Goes through the elements of an array: `for (JSONReader::Array array(reader); array.next();) …`
class CORVANE_API JSONReader::Array {
 public:
  /// Requires that an array comes next, else throws.
  explicit Array(JSONReader& reader);
  ~Array() {
    --reader_.depth_;
    reader_.node_ = node_.parent;
  }
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;

  /// To the next element; false after the last. A value that is not read is skipped.
  bool next() {
    const bool isFirst = valueStart_ == nullptr;
    if (reader_.cursor_ == valueStart_) reader_.skip();
    node_.step = PathNode::Step::none;
    if (!reader_.nextInside(']', isFirst)) {
      reader_.valueStart_ = node_.start;
      return false;
    }
    ++node_.index;
    node_.step = PathNode::Step::index;
    reader_.next();
    reader_.valueStart_ = valueStart_ = reader_.cursor_;
    return true;
  }

 private:
  JSONReader& reader_;
  PathNode node_;
  const char* valueStart_ = nullptr;
};

extern template CORVANE_API void JSONReader::readInteger(std::int8_t&);
extern template CORVANE_API void JSONReader::readInteger(std::int16_t&);
extern template CORVANE_API void JSONReader::readInteger(std::int32_t&);
extern template CORVANE_API void JSONReader::readInteger(std::int64_t&);
extern template CORVANE_API void JSONReader::readInteger(std::uint8_t&);
extern template CORVANE_API void JSONReader::readInteger(std::uint16_t&);
extern template CORVANE_API void JSONReader::readInteger(std::uint32_t&);
extern template CORVANE_API void JSONReader::readInteger(std::uint64_t&);
extern template CORVANE_API void JSONReader::decodeInteger<std::int32_t>(JSONReader&, void*);
extern template CORVANE_API void JSONReader::decodeInteger<std::uint32_t>(JSONReader&, void*);
extern template CORVANE_API void JSONReader::decodeInteger<std::int64_t>(JSONReader&, void*);
extern template CORVANE_API void JSONReader::decodeInteger<std::uint64_t>(JSONReader&, void*);
extern template CORVANE_API void JSONReader::readReal(float&);
extern template CORVANE_API void JSONReader::readReal(double&);
extern template CORVANE_API void JSONReader::readReal(long double&);

}  // namespace platform
