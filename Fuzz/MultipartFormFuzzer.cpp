#include "Corvane/Transfers/MultipartForm.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "CorvaneTesting/ReceivedForm.hpp"
#include "FuzzInput.hpp"

namespace platform::fuzz {

namespace {

namespace support = corvane::testkit;

constexpr std::string_view boundary = "frontier";

support::ReceivedRequest requestWith(std::string body) {
  support::ReceivedRequest request;
  request.headers.push_back({"Content-Type", "multipart/form-data; boundary=" + std::string(boundary)});
  request.body = std::move(body);
  return request;
}

std::optional<std::vector<support::ReceivedSection>> sectionsOf(std::string body) {
  try {
    return support::formSections(requestWith(std::move(body)));
  } catch (const std::runtime_error&) {
    return std::nullopt;
  }
}

/// What the server's reader accepts has no more bytes than were sent.
void checkReading(std::string_view body) {
  const auto sections = sectionsOf(std::string(body));
  if (!sections) return;
  std::size_t size = 0;
  for (const auto& section : *sections) {
    require(section.name.find("\"\r\n") == section.name.npos, "a name goes on after its end");
    require(section.content.find("\r\n--" + std::string(boundary)) == section.content.npos,
            "a content goes on after its boundary");
    size += section.name.size() + section.content.size() + section.fileName.value_or("").size();
  }
  require(size < body.size(), "a form has more bytes than were sent");
}

/// What is written reads the same, whatever the names and values hold, or is refused.
void checkWriting(std::string_view input) {
  std::vector<corvane::MultipartFormSection> sections;
  for (int count = 0; count < 4 && !input.empty(); ++count) {
    const std::string name(takeLine(input));
    const std::string_view value = takeLine(input);
    // The layout has the type of a field where others have its value, and writes quotes as they are, so these are
    // ambiguous.
    if (!value.starts_with("Content-Type: ") && name.find('"') == name.npos)
      sections.emplace_back(name, std::string(value));
  }
  corvane::BoundaryGenerator generator;
  generator.boundary = boundary;
  std::optional<Data> form;
  try {
    form = corvane::MultipartForm(sections, generator).asData();
  } catch (const corvane::MultipartError&) {
    return;
  }
  const auto received = sectionsOf(std::string(form->view()));
  require(received.has_value(), "a form that was written cannot be read");
  require(received->size() == sections.size(), "a form that was written has another number of sections");
  for (std::size_t index = 0; index < sections.size(); ++index) {
    const support::ReceivedSection& section = (*received)[index];
    require(section.name == sections[index].name, "the name of a section changes on the way");
    require(!section.fileName, "a plain field becomes a file");
    require(section.content == sections[index].dataRepresentable.asData().view(),
            "the content of a section changes on the way");
  }
}

void check(std::string_view input) {
  checkReading(input);
  checkWriting(input);
}

}  // namespace

}  // namespace platform::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  platform::fuzz::check({reinterpret_cast<const char*>(bytes), count});
  return 0;
}
