#include <gmock/gmock.h>

#include <map>

#include "AnchorDelegate.hpp"
#include "CorvaneTesting/CertificateAuthority.hpp"
#include "TransferTest.hpp"

/// Responses that come while the body of the request is still being sent.
namespace platform {
namespace {

using corvane::testkit::CertificateAuthority;
using corvane::testkit::generatedBytes;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::TestServer;
using corvane::testkit::Tls;

/// What a server that has seen enough does after its response.
enum class Leaving {
  readsOn,       ///< and forgets what comes
  lingers,       ///< closes its direction, having said so, and forgets what comes
  drops,         ///< closes without reading on, so that the system resets the connection
  saysAndDrops,  ///< the same, having said so
  resets,
};

struct EarlyResponseCase {
  const char* name;
  bool isSecure;
  bool isFromMemory;
  Leaving leaving;
};

std::vector<EarlyResponseCase> allCases() {
  std::vector<EarlyResponseCase> cases;
  static std::vector<std::string>& names = *new std::vector<std::string>(64);
  for (const bool isSecure : {false, true}) {
    for (const bool isFromMemory : {false, true}) {
      for (const auto& [leaving, name] : std::map<Leaving, std::string>{{Leaving::readsOn, "ReadsOn"},
                                                                        {Leaving::lingers, "Lingers"},
                                                                        {Leaving::drops, "Drops"},
                                                                        {Leaving::saysAndDrops, "SaysAndDrops"},
                                                                        {Leaving::resets, "Resets"}}) {
        std::string& text = names[cases.size()];
        text = std::string(isSecure ? "tls" : "plain") + (isFromMemory ? "FromMemory" : "FromFile") + name;
        cases.push_back({text.c_str(), isSecure, isFromMemory, leaving});
      }
    }
  }
  return cases;
}

class EarlyResponseTest : public TransferTest, public ::testing::WithParamInterface<EarlyResponseCase> {
 protected:
  using Outcomes = std::map<std::string, int>;

  static constexpr int rounds = 3;

  EarlyResponseTest() {
    if (GetParam().isSecure) secureServer.emplace(Tls(authority.issue({.dnsNames = {"localhost"}})));
  }

  TestServer& peer() { return secureServer ? *secureServer : server; }
  URLRequest post() { return request(peer().url("/", "localhost"), "POST"); }
  /// Over a connection of its own: where the body fits into the buffers of the sockets, a connection may be kept that
  /// the server is about to close.
  Loaded send() {
    session = makeSession({}, delegate);
    return GetParam().isFromMemory ? upload(post(), body) : upload(post(), source);
  }
  /// Lets the server give the response again and again, each time when it has read another part of the body.
  Outcomes outcomesOf(const MockResponse& response) {
    peer().discardBodies();
    Outcomes outcomes;
    for (std::uint64_t round = 0; round < rounds; ++round) {
      MockResponse early = response;
      peer().enqueue(leaving(early.beforeRequestBody(round * 900'000)));
      const Loaded loaded = send();
      ++outcomes[loaded.error ? loaded.message() : std::to_string(loaded.status()) + " " + loaded.body()];
    }
    return outcomes;
  }
  static MockResponse leaving(MockResponse response) {
    switch (GetParam().leaving) {
      case Leaving::readsOn:
        break;
      case Leaving::lingers:
        response.closeConnection();
        break;
      case Leaving::saysAndDrops:
        response.header("Connection", "close");
        [[fallthrough]];
      case Leaving::drops:
        response.dropConnection(Moment::afterResponse);
        break;
      case Leaving::resets:
        response.resetConnection(Moment::afterResponse);
        break;
    }
    return response;
  }

  const CertificateAuthority authority{"Test Root"};
  const std::shared_ptr<AnchorDelegate> delegate = std::make_shared<AnchorDelegate>(authority.certificate().der());
  std::optional<TestServer> secureServer;
  const Data body{generatedBytes(8 << 20)};
  const URL source = file("body", body.text());
};

TEST_P(EarlyResponseTest, thatRefusesIsDelivered) {
  EXPECT_EQ(outcomesOf(MockResponse(413).body("too much")), (Outcomes{{"413 too much", rounds}}));
}

TEST_P(EarlyResponseTest, thatRefusesInChunksIsDelivered) {
  EXPECT_EQ(outcomesOf(MockResponse(413).chunked({"too", " ", "much"})), (Outcomes{{"413 too much", rounds}}));
}

TEST_P(EarlyResponseTest, thatIsASuccessIsDelivered) {
  EXPECT_EQ(outcomesOf(MockResponse(200).body("enough")), (Outcomes{{"200 enough", rounds}}));
}

INSTANTIATE_TEST_SUITE_P(, EarlyResponseTest, ::testing::ValuesIn(allCases()),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace platform
