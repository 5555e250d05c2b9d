#include "Platform/Metrics/NetworkAddress.hpp"

#include <gtest/gtest.h>

namespace platform {
namespace {

TEST(NetworkAddressTest, isWrittenAsInAURL) {
  EXPECT_EQ((NetworkAddress{.host = "127.0.0.1", .port = 80}).text(), "127.0.0.1:80");
  EXPECT_EQ((NetworkAddress{.host = "fe80::1%eth0", .port = 80}).text(), "[fe80::1%eth0]:80");
  EXPECT_EQ((NetworkAddress{.host = "/run/service.sock"}).text(), "/run/service.sock");
  EXPECT_EQ(NetworkAddress().text(), "");
}

}  // namespace
}  // namespace platform
