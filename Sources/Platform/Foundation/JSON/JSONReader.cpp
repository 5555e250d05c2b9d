#include "Platform/Foundation/JSON/JSONReader.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "Platform/Foundation/JSON/DecodingError.hpp"
#include "Platform/Foundation/JSON/DecodingFieldTable.hpp"
#include "Platform/Foundation/JSON/Internal/ReaderScope.hpp"

namespace platform {
namespace {

/// A byte-order mark, which RFC 8259, 8.1 lets a reader pass over.
constexpr std::string_view mark = "\xEF\xBB\xBF";

bool isWhiteSpace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

}  // namespace

JSONReader::JSONReader(Data document, const JSONStrategies& strategies)
    : document_(std::move(document)),
      begin_(document_.view().data()),
      end_(begin_ + document_.count()),
      cursor_(begin_),
      valueStart_(begin_),
      strategies_(strategies) {
  if (document_.view().starts_with(mark)) cursor_ += mark.size();
}

char JSONReader::nextAfterWhiteSpace() {
  while (cursor_ < end_ && isWhiteSpace(*cursor_)) ++cursor_;
  return cursor_ < end_ ? *cursor_ : '\0';
}

void JSONReader::finish() {
  next();
  if (cursor_ < end_) failToFind("the end of the document");
}

JSONReader::Kind JSONReader::kind() {
  switch (next()) {
    case '{':
      return Kind::object;
    case '[':
      return Kind::array;
    case '"':
      return Kind::string;
    case 't':
    case 'f':
      return Kind::boolean;
    case 'n':
      return Kind::null;
    case '-':
    case '0':
    case '1':
    case '2':
    case '3':
    case '4':
    case '5':
    case '6':
    case '7':
    case '8':
    case '9':
      return Kind::number;
    default:
      failToFind("a value");
  }
}

/// Requires a word of at least four characters.
void JSONReader::passWord(std::string_view word) {
  const bool isThere = static_cast<std::size_t>(end_ - cursor_) >= word.size() &&
                       std::memcmp(cursor_, word.data(), 4) == 0 && cursor_[word.size() - 1] == word.back();
  if (!isThere) failToFind(word);
  cursor_ += word.size();
}

bool JSONReader::takeNull() {
  if (next() != 'n') return false;
  passWord("null");
  return true;
}

void JSONReader::readBoolean(bool& value) {
  switch (next()) {
    case 't':
      passWord("true");
      value = true;
      return;
    case 'f':
      passWord("false");
      value = false;
      return;
    default:
      failMismatch("a boolean");
  }
}

void JSONReader::decodeBoolean(JSONReader& reader, void* value) { reader.readBoolean(*static_cast<bool*>(value)); }

void JSONReader::passColon() {
  if (next() != ':') failToFind("a colon");
  ++cursor_;
}

// Members and elements

JSONReader::Object::Object(JSONReader& reader) : reader_(reader) {
  if (reader.next() != '{') reader.failMismatch("an object");
  node_.parent = reader.node_;
  Scope::enter(reader, node_);
}

JSONReader::Object::~Object() { Scope::leave(reader_, node_); }

bool JSONReader::Object::next() {
  const bool isFirst = valueStart_ == nullptr;
  if (!isFirst && reader_.cursor_ == valueStart_) reader_.skip();
  node_.step = PathNode::Step::none;
  if (!reader_.nextInside('}', isFirst)) {
    reader_.valueStart_ = node_.start;
    return false;
  }
  node_.key = reader_.readKey(unescapedKey_);
  node_.step = PathNode::Step::key;
  reader_.passColon();
  reader_.next();
  reader_.valueStart_ = valueStart_ = reader_.cursor_;
  return true;
}

JSONReader::Array::Array(JSONReader& reader) : reader_(reader) {
  if (reader.next() != '[') reader.failMismatch("an array");
  node_.parent = reader.node_;
  node_.index = SIZE_MAX;
  Scope::enter(reader, node_);
}

// Errors

void JSONReader::fail(std::string problem) const {
  failAt(std::find_if_not(valueStart_, end_, isWhiteSpace), std::move(problem));
}

void JSONReader::failAt(const char* position, std::string problem) const {
  throw DecodingError::dataCorrupted(std::move(problem), whereIs(position));
}

void JSONReader::failKind(const char* position, std::string problem) const {
  throw DecodingError::typeMismatch(std::move(problem), whereIs(position));
}

void JSONReader::failToContinue(char closing) {
  failToFind(closing == '}' ? "a comma or a closing brace" : "a comma or a closing bracket");
}

/// The text is not JSON: something else is wanted at the cursor.
void JSONReader::failToFind(std::string_view expected) {
  std::string problem = "the text is not JSON: expected ";
  problem.append(expected).append(" at byte ").append(std::to_string(cursor_ - begin_));
  failAt(cursor_, problem.append(cursor_ < end_ ? "" : ", where the text ends"));
}

void JSONReader::failMismatch(std::string_view expected) {
  static constexpr const char* names[] = {"an object", "an array", "a string", "a number", "a boolean", "null"};
  const Kind found = kind();
  std::string problem = "expected ";
  problem.append(expected).append(", found ").append(names[static_cast<std::size_t>(found)]);
  if (found == Kind::null) throw DecodingError::valueNotFound(std::move(problem), whereIs(cursor_));
  throw DecodingError::typeMismatch(std::move(problem), whereIs(cursor_));
}

void JSONReader::failCount(std::size_t expected, std::size_t found) const {
  fail("expected " + std::to_string(expected) + " elements, found " + std::to_string(found));
}

DecodingError::Location JSONReader::whereIs(const char* position) const {
  DecodingError::Location where;
  where.byteOffset = static_cast<std::size_t>(position - begin_);
  for (const PathNode* node = node_; node != nullptr; node = node->parent) {
    if (node->step == PathNode::Step::key) where.codingPath.emplace_back(std::string(node->key));
    if (node->step == PathNode::Step::index) where.codingPath.emplace_back(node->index);
  }
  std::ranges::reverse(where.codingPath);
  return where;
}

}  // namespace platform
