#include <bitset>
#include <string>

#include "Platform/Foundation/JSON/JSONReader.hpp"

namespace platform {
namespace {

/// The containers that are open, the innermost last: true for an object.
class OpenContainers {
 public:
  bool isEmpty() const { return count_ == 0; }
  std::size_t count() const { return count_; }
  bool isObject() const { return kinds_[count_ - 1]; }
  void open(bool isObject) { kinds_[count_++] = isObject; }
  void close() { --count_; }

 private:
  std::bitset<JSONReader::deepestNesting> kinds_;
  std::size_t count_ = 0;
};

}  // namespace

void JSONReader::skip() {
  OpenContainers containers;
  std::string unescaped;
  do {
    const char first = scanner_.next();
    bool isEmpty = false;
    if (first == '{' || first == '[') {
      checkDepth(containers.count() + 1);
      containers.open(first == '{');
      scanner_.pass();
      isEmpty = !nextInside(first == '{' ? '}' : ']', true);
      if (isEmpty) containers.close();
    } else {
      skipScalar(first, unescaped);
      isEmpty = true;
    }
    // After a value: out of every container that ends here.
    if (isEmpty) {
      while (!containers.isEmpty() && !nextInside(containers.isObject() ? '}' : ']', false)) containers.close();
    }
    if (!containers.isEmpty() && containers.isObject()) {
      readKey(unescaped);
      passColon();
    }
  } while (!containers.isEmpty());
}

std::string_view JSONReader::readRaw() {
  scanner_.next();
  const char* const start = scanner_.cursor();
  skip();
  return {start, static_cast<std::size_t>(scanner_.cursor() - start)};
}

void JSONReader::skipScalar(char first, std::string& unescaped) {
  std::string_view text;
  switch (first) {
    case '"':
      return require(scanner_.passString(text, unescaped));
    case 't':
      return require(scanner_.passWord("true"));
    case 'f':
      return require(scanner_.passWord("false"));
    case 'n':
      return require(scanner_.passWord("null"));
    default:
      kind();
      return require(scanner_.passNumber());
  }
}

}  // namespace platform
