#include "Corvane/Transfers/MultipartForm.hpp"

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "Corvane/Transfers/MultipartError.hpp"

namespace corvane {

using platform::Data;

namespace {

/// A section on its way into the form.
struct Part {
  std::string prefix;
  Data value;
};

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
    Data value = section.dataRepresentable.asData();
    if (holdsDelimiter(value)) throw MultipartError::boundaryInContent(section.name);
    return {std::move(prefix), std::move(value)};
  }

  std::string end() const { return lineBreak_ + delimiter_ + "--" + lineBreak_; }

 private:
  bool holdsDelimiter(const Data& value) const {
    const std::string_view text = value.view();
    return std::search(text.begin(), text.end(), searcher_) != text.end();
  }

  const std::string lineBreak_;
  const std::string delimiter_;
  // Skips most of the bytes.
  const std::boyer_moore_horspool_searcher<std::string::const_iterator> searcher_;
};

}  // namespace

Data MultipartForm::asData() const {
  const PartMaker maker(boundaryGeneratory);
  const std::string end = maker.end();
  std::size_t size = end.size();
  std::vector<Part> parts;
  parts.reserve(sections.size());
  for (const MultipartFormSection& section : sections) {
    parts.push_back(maker.part(section, parts.empty()));
    size += parts.back().prefix.size() + parts.back().value.count();
  }

  Data form = Data::withCapacity(size);
  for (Part& part : parts) {
    form.append(part.prefix);
    // Let go of at once: files need not be in memory twice.
    form.append(std::exchange(part.value, Data()).span());
  }
  form.append(end);
  return form;
}

Data dataRepresentation(const std::vector<MultipartFormSection>& sections) { return MultipartForm(sections).asData(); }

}  // namespace corvane
