#include "Corvane/Responses/HTTPResponsableDefaults.hpp"

namespace corvane::detail {

std::string debugStatusAndHeaders(const std::string& typeName, HTTPStatus status,
                                  const std::optional<platform::HTTPHeaderFields>& headers) {
  std::string text = "    ·Type: " + typeName + "\n    ·HTTP Status: " + std::string(status.name()) + "\n    ·Headers:";
  if (!headers) return text;
  for (const auto& [name, value] : *headers) text += "\t" + name + ": " + value + "\n";
  return text;
}

}  // namespace corvane::detail
