#include <bitset>

#include "Platform/Foundation/JSON/Internal/ReaderScope.hpp"

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
  std::string scratch;
  do {
    const char first = next();
    bool isEmpty = false;
    if (first == '{' || first == '[') {
      Scope::checkDepth(*this, containers.count() + 1);
      containers.open(first == '{');
      ++cursor_;
      isEmpty = !nextInside(first == '{' ? '}' : ']', true);
      if (isEmpty) containers.close();
    } else {
      passScalar(first, scratch);
      isEmpty = true;
    }
    // After a value: out of every container that ends here.
    if (isEmpty) {
      while (!containers.isEmpty() && !nextInside(containers.isObject() ? '}' : ']', false)) containers.close();
    }
    if (!containers.isEmpty() && containers.isObject()) {
      readKey(scratch);
      passColon();
    }
  } while (!containers.isEmpty());
}

std::string_view JSONReader::readRaw() {
  next();
  const char* const start = cursor_;
  skip();
  return {start, static_cast<std::size_t>(cursor_ - start)};
}

void JSONReader::passScalar(char first, std::string& scratch) {
  switch (first) {
    case '"':
      passString(scratch);
      return;
    case 't':
      passWord("true");
      return;
    case 'f':
      passWord("false");
      return;
    case 'n':
      passWord("null");
      return;
    default:
      kind();
      passNumber();
  }
}

}  // namespace platform
