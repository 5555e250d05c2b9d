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
#include "Platform/Foundation/JSON/Detail/JSONScanner.hpp"
#include "Platform/Foundation/JSON/JSONCodec.hpp"
#include "Platform/Foundation/JSON/JSONStrategies.hpp"

namespace platform {

namespace detail {
struct JSONValueDecoder;
}

/// Reads a JSON document (RFC 8259) value by value, and validates everything that it passes. A custom codec gets a
/// reader that is positioned before its value, and reads or skips that value:
///
///     static Money decode(JSONReader& reader) { return Money::parse(reader.decode<std::string>()); }
///
/// Every function throws `DecodingError`, with the path and the offset, if the next value is not the requested one.
/// More than 512 levels of nesting are refused.
///
/// Belongs to the stack of one thread; not copyable.
class CORVANE_API JSONReader {
 public:
  /// The maximum depth of nested containers.
  static constexpr std::size_t deepestNesting = 512;

  /// The type of a JSON value.
  using Kind = JSONKind;

  /// A reader of this document, which is shared, not copied.
  explicit JSONReader(Data document, const JSONStrategies& strategies = {});
  JSONReader(const JSONReader&) = delete;
  JSONReader& operator=(const JSONReader&) = delete;

  /// The type of the next value, from its first character. Does not read the value.
  Kind kind();
  /// Reads the next value.
  template <class T>
  T decode();
  /// Reads the next value. If it is valid JSON but not a `T`, skips it and returns `std::nullopt`. Throws for invalid
  /// JSON. After any other `DecodingError`, the reader cannot be used any more.
  template <class T>
  std::optional<T> decodeIfValid();
  /// Skips the next value, which must be valid JSON.
  void skip();
  /// Skips the next value and returns its text in the document, which is valid as long as the document.
  std::string_view readRaw();
  /// Reads a null, if the next value is one. Returns whether it was.
  bool takeNull();
  /// The offset of the next value, in bytes from the start of the document; after the last value, the offset of its
  /// end.
  std::size_t position() {
    scanner_.next();
    return static_cast<std::size_t>(scanner_.cursor() - scanner_.begin());
  }
  /// Requires that nothing but white space follows.
  void finish();

  /// Throws `DecodingError::dataCorrupted` for the next value or the value that was just read.
  [[noreturn]] void fail(std::string problem) const;

  /// The strategies that the reader was made with.
  const JSONStrategies& strategies() const { return strategies_; }

  class Object;
  class Array;

 private:
  friend struct detail::JSONValueDecoder;

  /// The inside of an object or array, entered with its first character, left with its last: a step of the path.
  class Container {
   public:
    /// Requires that one with that bracket comes next, else throws.
    Container(JSONReader& reader, char opening) : reader_(reader), parent_(reader.container_) {
      if (reader.scanner_.next() != opening) reader.failMismatch(opening == '{' ? "an object" : "an array");
      reader.checkDepth(1);
      ++reader.depth_;
      start_ = reader.scanner_.cursor();
      reader.scanner_.pass();
      reader.container_ = this;
    }
    ~Container() {
      --reader_.depth_;
      reader_.container_ = parent_;
      reader_.valueStart_ = start_;
    }
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;

    /// Whether there is one more member or element, where the scanner stands then. A value that was gone to and not
    /// read is skipped.
    bool next(char closing) {
      const bool isFirst = valueStart_ == nullptr;
      if (reader_.scanner_.cursor() == valueStart_) reader_.skip();
      step_ = Step::none;
      if (reader_.nextInside(closing, isFirst)) return true;
      reader_.valueStart_ = start_;
      return false;
    }
    /// To the value of the member or element.
    void goToValue() {
      reader_.scanner_.next();
      reader_.valueStart_ = valueStart_ = reader_.scanner_.cursor();
    }
    /// The path goes on with this member, with the next element, or not at all.
    void stepTo(std::string_view key) {
      key_ = key;
      step_ = Step::key;
    }
    void stepToNextElement() {
      ++index_;
      step_ = Step::index;
    }
    void stepBack() { step_ = Step::none; }

    const Container* parent() const { return parent_; }
    const char* start() const { return start_; }
    std::string_view key() const { return key_; }
    void addTo(std::vector<CodingKey>& path) const;

   private:
    enum class Step : std::uint8_t { none, key, index };

    JSONReader& reader_;
    const Container* const parent_;
    const char* start_ = nullptr;
    const char* valueStart_ = nullptr;
    std::string_view key_;
    std::size_t index_ = SIZE_MAX;
    Step step_ = Step::none;
  };

  /// Requires that so many levels more stay within bounds.
  void checkDepth(std::size_t levels) const {
    if (depth_ + levels > deepestNesting) failNesting();
  }
  /// Whether there is something more in a container: passes the comma, or the closing bracket.
  bool nextInside(char closing, bool isFirst) {
    const char found = scanner_.next();
    if (found == closing) {
      scanner_.pass();
      return false;
    }
    if (isFirst) return true;
    if (found != ',') failToContinue(closing);
    scanner_.pass();
    return true;
  }
  std::string_view readKey(std::string& unescaped);
  void passColon();
  void skipScalar(char first, std::string& unescaped);
  /// Requires that the function of the scanner that was called passed its token.
  void require(bool wasPassed) const {
    if (!wasPassed) failSyntax(scanner_.fault());
  }

  DecodingError::Location whereIs(const char* position) const;
  [[noreturn]] void failAt(const char* position, std::string problem) const;
  [[noreturn]] void failKind(const char* position, std::string problem) const;
  [[noreturn]] void failMismatch(const char* expected);
  [[noreturn]] void failSyntax(const detail::JSONFault& fault) const;
  [[noreturn]] void failNesting() const;
  [[noreturn]] void failToFind(const char* expected) const;
  [[noreturn]] void failToContinue(char closing) const;

  const Data document_;
  detail::JSONScanner scanner_;
  const Container* container_ = nullptr;
  std::size_t depth_ = 0;
  /// Where the value starts that was gone to last.
  const char* valueStart_;
  std::size_t bytesLookedThrough_ = 0;
  const JSONStrategies strategies_;
};

/// Iterates over the members of an object, in the order of the document:
///
///     for (JSONReader::Object object(reader); object.next();) {
///       if (object.key() == "amount") amount = reader.decode<double>();
///     }
///
/// A value that is not read is skipped. If a key occurs twice, both members are visited. Iterate to the last member:
/// otherwise the reader stays inside the object.
class CORVANE_API JSONReader::Object {
 public:
  /// Enters the next value; throws unless it is an object.
  explicit Object(JSONReader& reader) : reader_(reader), container_(reader, '{') {}
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  /// Moves to the next member; false after the last.
  bool next();
  /// The key of the current member; valid until `next` is called again.
  std::string_view key() const { return container_.key(); }

 private:
  JSONReader& reader_;
  Container container_;
  std::string unescapedKey_;
};

/// Iterates over the elements of an array: `for (JSONReader::Array array(reader); array.next();) …`
class CORVANE_API JSONReader::Array {
 public:
  /// Enters the next value; throws unless it is an array.
  explicit Array(JSONReader& reader) : container_(reader, '[') {}
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;

  /// Moves to the next element; false after the last. A value that is not read is skipped.
  bool next() {
    if (!container_.next(']')) return false;
    container_.stepToNextElement();
    container_.goToValue();
    return true;
  }

 private:
  Container container_;
};

}  // namespace platform
