#include "FormSection.hpp"

#include <optional>

#include "InputFile.hpp"
#include "UsageError.hpp"

using namespace corvane;

namespace {

MultipartFormSection fileSection(const std::string& name, const std::string& text) {
  constexpr std::string_view typeMark = ";type=";
  const std::size_t mark = text.rfind(typeMark);
  const std::string path = text.substr(0, mark);
  if (path.empty()) throw UsageError("'" + name + "=@" + text + "' is no section of a form: it names no file");
  std::optional<HTTPMediaType> type;
  if (mark != std::string::npos) {
    type.emplace(text.substr(mark + typeMark.size()));
    if (type->value().empty())
      throw UsageError("'" + name + "=@" + text + "' is no section of a form: its type is empty");
  }
  return {name, inputFile(path, "file of the section '" + name + "'"), type};
}

}  // namespace

MultipartFormSection formSection(const std::string& text) {
  const std::size_t sign = text.find('=');
  if (sign == std::string::npos || sign == 0)
    throw UsageError("'" + text + "' is no section of a form: write NAME=VALUE or NAME=@FILE");
  const std::string name = text.substr(0, sign);
  const std::string value = text.substr(sign + 1);
  MultipartFormSection section =
      value.starts_with('@') ? fileSection(name, value.substr(1)) : MultipartFormSection(name, value);
  try {
    section.headers();
  } catch (const MultipartError& error) {
    throw UsageError("'" + text + "' is no section of a form: " + error.message());
  }
  return section;
}
