#include "Corvane/Transfers/MultipartForm.hpp"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Corvane/Transfers/MultipartError.hpp"
#include "Platform/Foundation/FileManager.hpp"

namespace corvane {

using platform::Data;

namespace {

/// A section on its way into the form.
struct Part {
  std::string prefix;
  /// The bytes, unless they are those of the file.
  Data value;
  std::optional<std::string> file;
  const std::string& name;
};

/// The path of a section's file whose bytes stand for themselves.
std::optional<std::string> plainFile(const MultipartFormSection& section) {
  if (const auto* url = section.dataRepresentable.as<platform::URL>()) return velisand::detail::pathOf(*url);
  if (const auto* path = section.dataRepresentable.as<std::filesystem::path>()) return path->native();
  return std::nullopt;
}

/// What reading it will show; 0 where that will fail.
std::size_t sizeOf(const std::string& file) {
  std::error_code problem;
  const std::uintmax_t size = std::filesystem::file_size(file, problem);
  return problem ? 0 : static_cast<std::size_t>(size);
}

class PartMaker {
 public:
  explicit PartMaker(const BoundaryGenerator& generator)
      : lineBreak_(generator.returnChars),
        delimiter_("--" + generator.boundary),
        searcher_(delimiter_.begin(), delimiter_.end()) {}
  PartMaker(const PartMaker&) = delete;
  PartMaker& operator=(const PartMaker&) = delete;

  Part part(const MultipartFormSection& section, bool isFirst) const {
    std::string prefix = (isFirst ? "" : lineBreak_) + delimiter_ + lineBreak_ + detail::headerLines(section);
    std::optional<std::string> file = plainFile(section);
    Data value = file ? Data() : section.dataRepresentable.asData();
    return {std::move(prefix), std::move(value), std::move(file), section.name};
  }

  /// Files are read right into the form, so that they are in memory once.
  void append(Part& part, Data& form) const {
    form.append(part.prefix);
    const std::size_t start = form.count();
    if (part.file) {
      platform::FileManager::appendContents(*part.file, form);
    } else {
      form.append(std::exchange(part.value, Data()).span());
    }
    if (holdsDelimiter(form.view().substr(start))) throw MultipartError::boundaryInContent(part.name);
  }

  std::string end() const { return lineBreak_ + delimiter_ + "--" + lineBreak_; }

 private:
  bool holdsDelimiter(std::string_view text) const {
    return std::search(text.begin(), text.end(), searcher_) != text.end();
  }

  const std::string lineBreak_;
  const std::string delimiter_;
  // Skips most of the bytes.
  const std::boyer_moore_horspool_searcher<std::string::const_iterator> searcher_;
};

}  // namespace

MultipartForm::MultipartForm(std::initializer_list<MultipartFormSection> literal) : sections(literal) {}

MultipartForm::MultipartForm(std::vector<MultipartFormSection> list, BoundaryGenerator generator)
    : sections(std::move(list)), boundaryGeneratory(std::move(generator)) {}

Data MultipartForm::asData() const {
  const PartMaker maker(boundaryGeneratory);
  const std::string end = maker.end();
  std::size_t size = end.size();
  std::vector<Part> parts;
  parts.reserve(sections.size());
  for (const MultipartFormSection& section : sections) {
    parts.push_back(maker.part(section, parts.empty()));
    const Part& part = parts.back();
    size += part.prefix.size() + (part.file ? sizeOf(*part.file) : part.value.count());
  }

  Data form = Data::withCapacity(size);
  for (Part& part : parts) maker.append(part, form);
  form.append(end);
  return form;
}

Data dataRepresentation(const std::vector<MultipartFormSection>& sections) { return MultipartForm(sections).asData(); }

}  // namespace corvane
