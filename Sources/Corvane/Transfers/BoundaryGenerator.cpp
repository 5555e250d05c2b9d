#include "Corvane/Transfers/BoundaryGenerator.hpp"

#include "Platform/Foundation/UUID.hpp"

namespace corvane {

const std::string& boundaryUUID() {
  static const std::string& text = *new std::string(platform::UUID().uuidString());
  return text;
}

std::string boundaryText() { return "corvane.Boundary." + boundaryUUID(); }

}  // namespace corvane
