#include "CorvaneTesting/ReceivedForm.hpp"

#include <stdexcept>
#include <string_view>

namespace corvane::testkit {

namespace {

constexpr std::string_view lineBreak = "\r\n";

/// Reads a text from its start.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  bool skip(std::string_view expected) {
    if (!rest_.starts_with(expected)) return false;
    rest_.remove_prefix(expected.size());
    return true;
  }
  void require(std::string_view expected) {
    if (!skip(expected)) throw std::runtime_error("the form lacks '" + std::string(expected) + "'");
  }
  std::string upTo(std::string_view end) {
    const std::size_t position = rest_.find(end);
    if (position == std::string_view::npos) throw std::runtime_error("the form ends before '" + std::string(end) + "'");
    std::string text(rest_.substr(0, position));
    rest_.remove_prefix(position + end.size());
    return text;
  }

 private:
  std::string_view rest_;
};

std::string delimiterOf(const ReceivedRequest& request) {
  constexpr std::string_view mark = "boundary=";
  const std::string type = request.header("Content-Type").value_or("");
  const std::size_t position = type.find(mark);
  if (position == std::string::npos) throw std::runtime_error("the content type '" + type + "' has no boundary");
  return "--" + type.substr(position + mark.size());
}

ReceivedSection nextSection(Scanner& scanner, const std::string& delimiter) {
  ReceivedSection section;
  scanner.require("\r\nContent-Disposition: form-data; name=\"");
  section.name = scanner.upTo("\"\r\n");
  if (scanner.skip("; filename=\"")) {
    section.fileName = scanner.upTo("\"\r\n");
  } else {
    scanner.require(lineBreak);
  }
  if (scanner.skip("Content-Type: ")) section.contentType = scanner.upTo(lineBreak);
  section.content = scanner.upTo("\r\n" + delimiter);
  return section;
}

}  // namespace

std::vector<ReceivedSection> formSections(const ReceivedRequest& request) {
  const std::string delimiter = delimiterOf(request);
  Scanner scanner(request.body);
  std::vector<ReceivedSection> sections;
  scanner.skip(lineBreak);  // a form without sections
  scanner.require(delimiter);
  while (!scanner.skip("--\r\n")) sections.push_back(nextSection(scanner, delimiter));
  return sections;
}

}  // namespace corvane::testkit
