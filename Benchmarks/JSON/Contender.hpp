#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "JSON/Documents.hpp"

namespace bench {

/// A way to decode and to encode.
struct Contender {
  /// Decodes always the same text, which it keeps in the form that the library asks for, as the body of a response
  /// would be.
  using Decode = std::function<Records()>;
  /// Shows what was encoded, without a copy.
  using Show = std::function<void(std::string_view)>;

  std::string name;
  std::function<Decode(const std::string& text)> prepareDecoding;
  /// Absent where the library cannot.
  std::function<void(const Records&, const Show&)> encode;
  /// Whether it decodes documents whose keys are not in the order of declaration.
  bool takesAnyOrder = true;
  /// How many times as fast Corvane shall decode at least.
  std::optional<double> goalInOrder;
  std::optional<double> goalInAnyOrder;
};

inline constexpr const char* corvaneName = "Corvane";

Contender corvaneContender();
Contender boostContender();
Contender nlohmannContender();
Contender rapidContender();
/// Its library finds strings and structure, and validates UTF-8, by the vector code for the processor at hand; the rest
/// is compiled here, for any. Where AVX2 is at hand there are also those for which all was compiled with it.
std::vector<Contender> simdjsonContenders();
/// Requires: the processor has AVX2.
std::vector<Contender> haswellSimdjsonContenders();

}  // namespace bench
