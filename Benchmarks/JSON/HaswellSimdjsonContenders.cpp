// Compiled for processors with AVX2: simdjson then takes its on-demand code for them.

#include "JSON/SimdjsonForms.hpp"

namespace bench {

std::vector<Contender> haswellSimdjsonContenders() {
  return {{.name = "simdjson AVX2, in order",
           .prepareDecoding = prepareSimdjson<InOrder>,
           .encode = {},
           .takesAnyOrder = false},
          {.name = "simdjson AVX2, any order", .prepareDecoding = prepareSimdjson<AnyOrder>, .encode = {}}};
}

}  // namespace bench
