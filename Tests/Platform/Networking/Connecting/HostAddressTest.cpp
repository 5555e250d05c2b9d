#include "Platform/Networking/Connecting/HostAddress.hpp"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace platform::networking {
namespace {

using testing::ElementsAre;

/// As text, its port and zone included: "[::1%2]:80".
std::string spelled(const HostAddress& address, std::uint16_t port = 80) {
  sockaddr_storage storage;
  char text[INET6_ADDRSTRLEN];
  const socklen_t size = address.fill(storage, port);
  if (storage.ss_family == AF_INET) {
    const auto& four = reinterpret_cast<const sockaddr_in&>(storage);
    EXPECT_EQ(size, sizeof four);
    ::inet_ntop(AF_INET, &four.sin_addr, text, sizeof text);
    return std::string(text) + ":" + std::to_string(ntohs(four.sin_port));
  }
  const auto& six = reinterpret_cast<const sockaddr_in6&>(storage);
  EXPECT_EQ(size, sizeof six);
  ::inet_ntop(AF_INET6, &six.sin6_addr, text, sizeof text);
  const std::string zone = six.sin6_scope_id == 0 ? "" : "%" + std::to_string(six.sin6_scope_id);
  return "[" + std::string(text) + zone + "]:" + std::to_string(ntohs(six.sin6_port));
}

HostAddress at(const char* text) { return *HostAddress::fromText(text); }

TEST(HostAddressTest, readsNumbers) {
  EXPECT_EQ(spelled(at("127.0.0.1")), "127.0.0.1:80");
  EXPECT_EQ(spelled(at("127.1"), 443), "127.0.0.1:443");
  EXPECT_EQ(spelled(at("0x7f000001")), "127.0.0.1:80");
  EXPECT_EQ(spelled(at("::1")), "[::1]:80");
  EXPECT_EQ(spelled(at("2001:db8::7")), "[2001:db8::7]:80");
}

TEST(HostAddressTest, takesOnlyDecimalNumbersWhereItIsStrict) {
  for (const char* text : {"010.0.0.1", "127.1", "10", "0x7f000001", "127.0.0.01", "localhost", ""}) {
    EXPECT_EQ(HostAddress::fromStrictText(text), std::nullopt) << text;
  }
  EXPECT_EQ(HostAddress::fromStrictText(std::string("127.0.0.1\0.example", 18)), std::nullopt);
  for (const char* text : {"127.0.0.1", "0.0.0.0", "255.255.255.255", "::1", "fe80::1%7"}) {
    EXPECT_EQ(HostAddress::fromStrictText(text), at(text)) << text;
  }
}

TEST(HostAddressTest, readsZones) {
  EXPECT_EQ(spelled(at("fe80::1%7")), "[fe80::1%7]:80");
  EXPECT_EQ(spelled(at("fe80::1%lo")), "[fe80::1%1]:80");
}

TEST(HostAddressTest, leavesNamesAlone) {
  for (const char* name : {"", "localhost", "1.2.3.4.example", "fe80::1%nosuchinterface", "::1]", "1:2", "256.1.1.1",
                           "127.0.0.1 example", "127.0.0.1\n"}) {
    EXPECT_EQ(HostAddress::fromText(name), std::nullopt) << name;
  }
  EXPECT_EQ(HostAddress::fromText(std::string("127.0.0.1\0.example", 18)), std::nullopt);
}

TEST(HostAddressTest, comesFromTheSystem) {
  for (const char* text : {"192.0.2.1", "2001:db8::7", "fe80::1%3"}) {
    sockaddr_storage storage;
    at(text).fill(storage, 80);

    EXPECT_EQ(HostAddress::fromSystem(reinterpret_cast<sockaddr*>(&storage)), at(text));
  }
  sockaddr other{};
  other.sa_family = AF_UNIX;
  EXPECT_EQ(HostAddress::fromSystem(&other), std::nullopt);
}

TEST(HostAddressTest, isInterleavedBeginningWithThePreferredFamily) {
  const std::vector<HostAddress> addresses = {at("::1"), at("::2"), at("::3"), at("127.0.0.1"), at("127.0.0.2")};

  EXPECT_THAT(interleaved(addresses, 16),
              ElementsAre(at("::1"), at("127.0.0.1"), at("::2"), at("127.0.0.2"), at("::3")));
  EXPECT_THAT(interleaved(addresses, 2), ElementsAre(at("::1"), at("127.0.0.1")));
}

TEST(HostAddressTest, keepsTheOrderOfOneFamily) {
  const std::vector<HostAddress> addresses = {at("127.0.0.3"), at("127.0.0.1"), at("127.0.0.2")};

  EXPECT_EQ(interleaved(addresses, 16), addresses);
  EXPECT_TRUE(interleaved({}, 16).empty());
}

}  // namespace
}  // namespace platform::networking
