#include "JSON/Contender.hpp"
#include "Platform/Foundation/JSON/JSONDecoder.hpp"
#include "Platform/Foundation/JSON/JSONEncoder.hpp"

namespace bench {

Contender corvaneContender() {
  return {.name = corvaneName,
          .prepareDecoding =
              [](const std::string& text) {
                return [body = platform::Data(text)] { return platform::JSONDecoder().decode<Records>(body); };
              },
          .encode = [](const Records& records,
                       const Contender::Show& show) { show(platform::JSONEncoder().encode(records).view()); }};
}

}  // namespace bench
