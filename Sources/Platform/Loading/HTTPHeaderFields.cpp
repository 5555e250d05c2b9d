#include "Platform/Loading/HTTPHeaderFields.hpp"

#include <algorithm>

#include "Platform/Networking/HTTPText.hpp"

namespace platform {

namespace {

// Most responses have between four and twelve fields: one allocation instead of four.
constexpr std::size_t firstCapacity = 12;

template <class Fields>
auto find(Fields& fields, std::string_view name) {
  return std::find_if(fields.begin(), fields.end(),
                      [name](const auto& field) { return detail::equalsIgnoringCase(field.first, name); });
}

std::string nameProblem(std::string_view name) {
  if (detail::isToken(name)) return {};
  if (name.empty()) return "A header field has an empty name.";
  const auto wrong = std::find_if_not(name.begin(), name.end(), detail::isTokenCharacter);
  return "The header field name \"" + detail::printable(name) + "\" holds \"" + detail::printable({&*wrong, 1}) +
         "\", which is not allowed in a name.";
}

std::string valueProblem(std::string_view name, std::string_view value) {
  if (!detail::holdsForbiddenControl(value)) return {};
  const auto wrong = std::find_if(value.begin(), value.end(), detail::isForbiddenControl);
  const std::string start = "The value of the header field \"" + detail::printable(name) + "\" holds ";
  if (*wrong == '\r' || *wrong == '\n') return start + "a line break.";
  if (*wrong == '\0') return start + "a NUL.";
  return start + "the control character " + detail::printable({&*wrong, 1}) + ".";
}

}  // namespace

const HTTPHeaderFields::Fields HTTPHeaderFields::none_;

/// The fields, to be changed: of this object alone from here on.
HTTPHeaderFields::Fields& HTTPHeaderFields::own() {
  Fields& fields = fields_.own();
  if (fields.capacity() == 0) fields.reserve(firstCapacity);
  return fields;
}

HTTPHeaderFields::HTTPHeaderFields(std::initializer_list<Field> fields) {
  for (const auto& [name, value] : fields) add(name, value);
}

std::optional<std::string> HTTPHeaderFields::value(std::string_view name) const {
  std::optional<std::string> result;
  for (const auto& [fieldName, fieldValue] : fields()) {
    if (!detail::equalsIgnoringCase(fieldName, name)) continue;
    if (result) {
      result->append(", ").append(fieldValue);
    } else {
      result = fieldValue;
    }
  }
  return result;
}

std::vector<std::string> HTTPHeaderFields::values(std::string_view name) const {
  std::vector<std::string> result;
  for (const auto& [fieldName, fieldValue] : fields()) {
    if (detail::equalsIgnoringCase(fieldName, name)) result.push_back(fieldValue);
  }
  return result;
}

bool HTTPHeaderFields::contains(std::string_view name) const { return find(fields(), name) != end(); }

void HTTPHeaderFields::set(std::string_view name, std::string_view value) {
  // `name` and `value` may be views of this very object, so everything is copied before it changes.
  Field replacement{name, value};
  Fields& fields = own();
  const auto first = find(fields, replacement.first);
  if (first == fields.end()) {
    fields.push_back(std::move(replacement));
    return;
  }
  const auto rest = std::remove_if(first + 1, fields.end(), [&](const Field& field) {
    return detail::equalsIgnoringCase(field.first, replacement.first);
  });
  fields.erase(rest, fields.end());
  *first = std::move(replacement);
}

void HTTPHeaderFields::add(std::string_view name, std::string_view value) {
  Field added{name, value};
  own().push_back(std::move(added));
}

bool HTTPHeaderFields::remove(std::string_view name) {
  if (!contains(name)) return false;
  const std::string removed(name);
  std::erase_if(own(), [&](const Field& field) { return detail::equalsIgnoringCase(field.first, removed); });
  return true;
}

void HTTPHeaderFields::merge(const HTTPHeaderFields& other) {
  // They may be these very fields.
  const HTTPHeaderFields merged(other);  // NOLINT(performance-unnecessary-copy-initialization)
  for (const auto& [name, value] : merged) set(name, value);
}

std::string HTTPHeaderFields::problem(std::string_view name, std::string_view value) {
  std::string problem = nameProblem(name);
  if (problem.empty()) problem = valueProblem(name, value);
  return problem;
}

bool operator==(const HTTPHeaderFields& left, const HTTPHeaderFields& right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](const HTTPHeaderFields::Field& a, const HTTPHeaderFields::Field& b) {
                      return detail::equalsIgnoringCase(a.first, b.first) && a.second == b.second;
                    });
}

}  // namespace platform
