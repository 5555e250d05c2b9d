#include "JSON/DecodingMemory.hpp"

#include "Harness/Figures.hpp"
#include "JSON/AllocationCounter.hpp"

namespace bench {
namespace {

constexpr double goal = 1.2;

struct Memory {
  std::ptrdiff_t peak = 0;
  std::ptrdiff_t result = 0;
};

Memory memoryOf(const Contender& contender, const Document& document) {
  const auto decode = contender.prepareDecoding(document.text);
  const AllocationCounter counter;
  std::optional<Records> records = decode();
  const std::ptrdiff_t peak = counter.peak();
  const std::ptrdiff_t live = counter.live();
  records.reset();
  return {.peak = peak, .result = live - counter.live()};
}

}  // namespace

std::string decodingMemoryReport(const Document& document, const std::vector<Contender>& contenders) {
  const auto documentBytes = static_cast<double>(document.text.size());
  std::string text = formatted("JSON, peak memory of a decode, in documents of %.0f bytes\n", documentBytes);
  text += formatted("  %-26s %8s   %s\n", "", "result", "beyond the result");
  for (const Contender& contender : contenders) {
    const Memory memory = memoryOf(contender, document);
    const double beyond = static_cast<double>(memory.peak - memory.result) / documentBytes;
    const bool isOurs = contender.name == corvaneName;
    text += formatted("  %-26s %8.2f   ", contender.name.c_str(), static_cast<double>(memory.result) / documentBytes);
    text += atMost(beyond, isOurs ? std::optional(goal) : std::nullopt) + "\n";
  }
  return text;
}

}  // namespace bench
