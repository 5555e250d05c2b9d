#include "Clients/Client.hpp"

namespace bench {

const std::vector<ClientKind>& clientKinds() {
  static const std::vector<ClientKind>& kinds = *new std::vector<ClientKind>{
      {"raw socket", makeSocketClient},      {"OpenSSL", makeOpenSSLClient},
      {"Boost.Beast", makeBeastClient},      {"libcurl easy", makeEasyClient},
      {"libcurl multi", makeMultiClient},    {"Corvane", makeCallbackClient},
      {"Corvane get()", makeBlockingClient}, {"Corvane get(), stored", makeCachedClient},
  };
  return kinds;
}

}  // namespace bench
