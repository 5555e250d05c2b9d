#include <algorithm>
#include <string>
#include <utility>

#include "Platform/Foundation/JSON/DecodingError.hpp"
#include "Platform/Foundation/JSON/JSONReader.hpp"

namespace platform {

void JSONReader::fail(std::string problem) const { failAt(scanner_.afterWhiteSpace(valueStart_), std::move(problem)); }

void JSONReader::failAt(const char* position, std::string problem) const {
  throw DecodingError::dataCorrupted(std::move(problem), whereIs(position));
}

void JSONReader::failKind(const char* position, std::string problem) const {
  throw DecodingError::typeMismatch(std::move(problem), whereIs(position));
}

void JSONReader::failMismatch(const char* expected) {
  static constexpr const char* names[] = {"an object", "an array", "a string", "a number", "a boolean", "null"};
  const Kind found = kind();
  std::string problem = "expected ";
  problem.append(expected).append(", found ").append(names[static_cast<std::size_t>(found)]);
  if (found == Kind::null) throw DecodingError::valueNotFound(std::move(problem), whereIs(scanner_.cursor()));
  failKind(scanner_.cursor(), std::move(problem));
}

/// The text is not JSON.
void JSONReader::failSyntax(const detail::JSONFault& fault) const {
  if (fault.expected == nullptr) failAt(fault.position, fault.problem);
  std::string problem = "the text is not JSON: expected ";
  problem.append(fault.expected).append(" at byte ").append(std::to_string(fault.position - scanner_.begin()));
  failAt(fault.position, problem.append(fault.position < scanner_.end() ? "" : ", where the text ends"));
}

/// The text is not JSON: something else is wanted at the cursor.
void JSONReader::failToFind(const char* expected) const {
  failSyntax({.position = scanner_.cursor(), .expected = expected});
}

void JSONReader::failToContinue(char closing) const {
  failToFind(closing == '}' ? "a comma or a closing brace" : "a comma or a closing bracket");
}

void JSONReader::failNesting() const {
  const char* const position = scanner_.cursor();
  failAt(position, "nested too deeply: more than " + std::to_string(deepestNesting) + " levels at byte " +
                       std::to_string(position - scanner_.begin()));
}

DecodingError::Location JSONReader::whereIs(const char* position) const {
  DecodingError::Location where;
  where.byteOffset = static_cast<std::size_t>(position - scanner_.begin());
  for (const Container* container = container_; container != nullptr; container = container->parent()) {
    container->addTo(where.codingPath);
  }
  std::ranges::reverse(where.codingPath);
  return where;
}

void JSONReader::Container::addTo(std::vector<CodingKey>& path) const {
  if (step_ == Step::key) path.emplace_back(std::string(key_));
  if (step_ == Step::index) path.emplace_back(index_);
}

}  // namespace platform
