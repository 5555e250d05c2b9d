#include "Platform/Foundation/JSON/JSONReader.hpp"

#include <utility>

namespace platform {

JSONReader::JSONReader(Data document, const JSONStrategies& strategies)
    : document_(std::move(document)),
      scanner_(document_.view()),
      valueStart_(scanner_.begin()),
      strategies_(strategies) {}

void JSONReader::finish() {
  scanner_.next();
  if (scanner_.cursor() < scanner_.end()) failToFind("the end of the document");
}

JSONReader::Kind JSONReader::kind() {
  switch (scanner_.next()) {
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

bool JSONReader::takeNull() {
  if (scanner_.next() != 'n') return false;
  require(scanner_.passWord("null"));
  return true;
}

// Members and elements

bool JSONReader::Object::next() {
  if (!container_.next('}')) return false;
  container_.stepTo(reader_.readKey(unescapedKey_));
  reader_.passColon();
  container_.goToValue();
  return true;
}

std::string_view JSONReader::readKey(std::string& unescaped) {
  if (scanner_.next() != '"') failToFind("a key in quotes");
  std::string_view key;
  require(scanner_.passString(key, unescaped));
  return key;
}

void JSONReader::passColon() {
  if (scanner_.next() != ':') failToFind("a colon");
  scanner_.pass();
}

}  // namespace platform
