#include "Corvane/Request/UserAgent.hpp"

#include <gtest/gtest.h>

namespace corvane::detail {
namespace {

using platform::Dictionary;

const Dictionary application{{"CFBundleExecutable", "Reader"},
                             {"CFBundleShortVersionString", "2.1"},
                             {"CFBundleIdentifier", "reader.bundle"},
                             {"CFBundleVersion", "45"}};

TEST(UserAgentTest, isTheLibrarysNameWithoutAnApplication) {
  EXPECT_EQ(composedUserAgent({.application = {}, .library = {}, .operatingSystemVersion = "13.3.0"}), "Corvane");
}

TEST(UserAgentTest, describesApplicationSystemAndLibrary) {
  const Dictionary library{{"CFBundleShortVersionString", "1.4"}};

  EXPECT_EQ(composedUserAgent({.application = application, .library = library, .operatingSystemVersion = "13.3.0"}),
            "Reader/2.1 (reader.bundle; build:45; iOS 13.3.0) Corvane/1.4");
}

TEST(UserAgentTest, saysUnknownForWhatIsMissingOrNoText) {
  const Dictionary incomplete{{"CFBundleVersion", 45}};

  EXPECT_EQ(composedUserAgent({.application = incomplete, .library = {}, .operatingSystemVersion = "6.1.0"}),
            "Unknown/Unknown (Unknown; build:Unknown; iOS 6.1.0) Unknown");
  EXPECT_EQ(composedUserAgent({.application = incomplete, .library = Dictionary(), .operatingSystemVersion = "6.1.0"}),
            "Unknown/Unknown (Unknown; build:Unknown; iOS 6.1.0) Unknown");
}

TEST(UserAgentTest, isMadeOnce) { EXPECT_EQ(&userAgent(), &userAgent()); }

}  // namespace
}  // namespace corvane::detail
