#include <utility>

#include "JSON/SimdjsonForms.hpp"

namespace bench {

std::vector<Contender> simdjsonContenders() {
  std::vector<Contender> contenders{
      {.name = "simdjson, in order",
       .prepareDecoding = prepareSimdjson<InOrder>,
       .encode = {},
       .takesAnyOrder = false,
       .goalInOrder = 0.9},
      {.name = "simdjson, any order", .prepareDecoding = prepareSimdjson<AnyOrder>, .encode = {}, .goalInAnyOrder = 1}};
#if defined(__x86_64__)
  if (simdjson::get_available_implementations()["haswell"]->supported_by_runtime_system()) {
    for (Contender& contender : haswellSimdjsonContenders()) contenders.push_back(std::move(contender));
  }
#endif
  return contenders;
}

}  // namespace bench
