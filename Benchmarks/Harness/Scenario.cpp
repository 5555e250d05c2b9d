#include "Harness/Scenario.hpp"

#include <algorithm>

namespace bench {
namespace {

constexpr double delaySeconds = 0.1;
constexpr double extraMebibytes = 4;

Scenario sequential(bool onServersCore) {
  return {.title = std::string("Small GETs, one after the other, ") +
                   (onServersCore ? "client and server on one core" : "client and server on a core each"),
          .path = "/small",
          .count = 16000,
          .warmUp = 50,
          .onServersCore = onServersCore,
          .baseline = "libcurl easy",
          .contenders = {{"raw socket", {}}, {"libcurl easy", {}}, {"libcurl multi", {}}}};
}

Scenario concurrent(int concurrency) {
  return {.title = "Small GETs, " + std::to_string(concurrency) + " at a time",
          .path = "/small",
          .concurrency = concurrency,
          .count = 24000,
          .warmUp = 2 * concurrency,
          .baseline = "libcurl multi",
          .contenders = {{"raw socket", {}}, {"libcurl multi", {}}}};
}

/// The connections are part of it: a client that opens them hesitantly loses time here.
Scenario slowServer() {
  constexpr int count = 2000;
  constexpr int concurrency = 200;
  return {.title = "2,000 GETs at a server that answers after 100 ms, 200 at a time",
          .path = "/delay100",
          .concurrency = concurrency,
          .count = count,
          .warmUp = 1,
          .idealSeconds = delaySeconds * count / concurrency,
          .onNginx = false,
          .baseline = "libcurl multi",
          .contenders = {{"raw socket", {}}, {"libcurl multi", {}}}};
}

Scenario largeBody() {
  return {.title = "A body of 256 MiB, kept in memory",
          .path = "/large",
          .count = 2,
          .warmUp = 1,
          .bodyBytes = 256ULL * 1024 * 1024,
          .baseline = "libcurl easy",
          .contenders = {{"raw socket", {}}, {"libcurl easy", {}}}};
}

Scenario secureSequential() {
  return {.title = "Small GETs over TLS, one after the other on one connection",
          .path = "/small",
          .secure = true,
          .count = 8000,
          .warmUp = 50,
          .baseline = "libcurl easy",
          .contenders = {{"OpenSSL", {}}, {"libcurl easy", {}}}};
}

Scenario secureConnections() {
  return {.title = "Small GETs over TLS, each on a new connection, with the system's anchors and one more",
          .path = "/close",
          .secure = true,
          .count = 400,
          .warmUp = 5,
          .baseline = "OpenSSL",
          .contenders = {{"OpenSSL", {}}, {"libcurl easy", {}}}};
}

}  // namespace

std::vector<Scenario> scenarios(bool quick) {
  std::vector<Scenario> all = {sequential(true), sequential(false),  concurrent(6),
                               concurrent(64),   concurrent(512),    slowServer(),
                               largeBody(),      secureSequential(), secureConnections()};
  if (!quick) return all;
  for (Scenario& scenario : all) {
    if (scenario.idealSeconds == 0) scenario.count = std::max(1, scenario.count / 6);
  }
  return all;
}

}  // namespace bench
