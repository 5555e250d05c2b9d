#include "Harness/Scenario.hpp"

#include <algorithm>

namespace bench {
namespace {

constexpr double delaySeconds = 0.1;
// Against the baseline of the scenario; those of memory are against libcurl everywhere.
constexpr double extraMebibytes = 4;

Scenario sequential(bool onServersCore) {
  // Two wake-ups for a callback are a matter of the code on one core, and of the machine on two.
  const std::optional<double> callbackCPU = onServersCore ? std::optional(2.0) : std::nullopt;
  const double blockingRate = onServersCore ? 1 : 0.85;
  return {.title = std::string("Small GETs, one after the other, ") +
                   (onServersCore ? "client and server on one core" : "client and server on a core each"),
          .path = "/small",
          .count = 16000,
          .warmUp = 50,
          .onServersCore = onServersCore,
          .baseline = "libcurl easy",
          .contenders = {{"raw socket", {}},
                         {"Boost.Beast", {}},
                         {"libcurl easy", {}},
                         {"libcurl multi", {}},
                         {"Corvane", {.cpuAtMost = callbackCPU, .extraMebibytesAtMost = extraMebibytes}},
                         {"Corvane get()", {.rateAtLeast = blockingRate, .extraMebibytesAtMost = extraMebibytes}}}};
}

Scenario concurrent(int concurrency, Goals goals) {
  return {.title = "Small GETs, " + std::to_string(concurrency) + " at a time",
          .path = "/small",
          .concurrency = concurrency,
          .count = 24000,
          .warmUp = 2 * concurrency,
          .baseline = "libcurl multi",
          .contenders = {{"raw socket", {}}, {"Boost.Beast", {}}, {"libcurl multi", {}}, {"Corvane", goals}}};
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
          .contenders = {{"raw socket", {}},
                         {"libcurl multi", {}},
                         {"Corvane", {.idealTimeAtMost = 1.03, .extraMebibytesAtMost = extraMebibytes}}}};
}

Scenario largeBody() {
  return {.title = "A body of 256 MiB, kept in memory",
          .path = "/large",
          .count = 2,
          .warmUp = 1,
          .bodyBytes = 256ULL * 1024 * 1024,
          .baseline = "libcurl easy",
          .contenders = {{"raw socket", {}},
                         {"libcurl easy", {}},
                         {"Corvane", {.rateAtLeast = 1.25, .extraMebibytesAtMost = extraMebibytes}}}};
}

Scenario secureSequential() {
  return {.title = "Small GETs over TLS, one after the other on one connection",
          .path = "/small",
          .wire = Wire::tls,
          .count = 8000,
          .warmUp = 50,
          .baseline = "libcurl easy",
          .contenders = {{"OpenSSL", {}},
                         {"libcurl easy", {}},
                         {"Corvane", {.extraMebibytesAtMost = extraMebibytes}},
                         {"Corvane get()", {.extraMebibytesAtMost = extraMebibytes}}}};
}

Scenario secureConnections() {
  return {.title = "Small GETs over TLS, each on a new connection, with the system's anchors and one more",
          .path = "/close",
          .wire = Wire::tls,
          .count = 400,
          .warmUp = 5,
          .baseline = "OpenSSL",
          .contenders = {{"OpenSSL", {}}, {"libcurl easy", {}}, {"Corvane", {.rateAtLeast = 0.9}}}};
}

Scenario resumedConnections() {
  return {.title = "Small GETs over TLS, each on a new connection that resumes a session",
          .path = "/close",
          .wire = Wire::resumed,
          .count = 800,
          .warmUp = 5,
          .baseline = "OpenSSL",
          .contenders = {{"OpenSSL", {}}, {"libcurl easy", {}}, {"Corvane", {}}}};
}

Scenario multiplexed() {
  constexpr int concurrency = 64;
  return {
      .title = "Small GETs over HTTP/2, 64 streams at a time",
      .path = "/small",
      .wire = Wire::http2,
      .concurrency = concurrency,
      .count = 24000,
      .warmUp = 2 * concurrency,
      .baseline = "libcurl multi",
      .contenders = {{"libcurl multi", {}}, {"Corvane", {.rateAtLeast = 1.3, .extraMebibytesAtMost = extraMebibytes}}}};
}

/// What a hit costs beside the same request on an idle connection.
Scenario stored() {
  return {.title = "Small GETs, one after the other, from the server and from the cache",
          .path = "/small",
          .count = 16000,
          .warmUp = 50,
          .onNginx = false,
          .baseline = "Corvane get()",
          .contenders = {{"Corvane get()", {}}, {"Corvane get(), stored", {.rateAtLeast = 10}}}};
}

}  // namespace

std::vector<Scenario> scenarios(bool quick) {
  std::vector<Scenario> all = {
      sequential(true),
      sequential(false),
      concurrent(6, {.rateAtLeast = 1.3, .extraMebibytesAtMost = extraMebibytes}),
      concurrent(64, {.rateAtLeast = 1.4, .cpuAtMost = 0.7, .extraMebibytesAtMost = extraMebibytes}),
      concurrent(512, {.rateAtLeast = 2, .extraMebibytesAtMost = extraMebibytes}),
      slowServer(),
      largeBody(),
      secureSequential(),
      secureConnections(),
      resumedConnections(),
      multiplexed(),
      stored()};
  if (!quick) return all;
  for (Scenario& scenario : all) {
    if (scenario.idealSeconds == 0) scenario.count = std::max(1, scenario.count / 6);
  }
  return all;
}

}  // namespace bench
