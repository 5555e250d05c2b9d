#include "Platform/Networking/Connecting/LocalHost.hpp"

#include <gtest/gtest.h>

namespace platform::networking {
namespace {

TEST(LocalHostTest, knowsTheNamesAndAddressesOfThisMachine) {
  for (const char* host : {"localhost", "LocalHost", "localhost.", "api.localhost", "127.0.0.1", "127.255.0.7", "127.1",
                           "0x7f000001", "0.0.0.0", "::1", "0:0:0:0:0:0:0:1", "::", "::ffff:127.0.0.1"})
    EXPECT_TRUE(isThisMachine(host)) << host;
}

TEST(LocalHostTest, takesEverythingElseForAnother) {
  for (const char* host : {"", ".", "example.com", "localhost.example.com", "notlocalhost", "128.0.0.1", "192.0.2.1",
                           "1.0.0.127", "::2", "::ffff:192.0.2.1", "fe80::1", "ocalhost"})
    EXPECT_FALSE(isThisMachine(host)) << host;
}

}  // namespace
}  // namespace platform::networking
