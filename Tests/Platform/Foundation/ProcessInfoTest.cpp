#include "Platform/Foundation/ProcessInfo.hpp"

#include <gtest/gtest.h>

namespace {

using platform::OperatingSystemVersion;
using platform::ProcessInfo;

TEST(ProcessInfoTest, readsTheNumbersAtTheStartOfARelease) {
  EXPECT_EQ(OperatingSystemVersion::parse("6.1.0-18-amd64"), (OperatingSystemVersion{6, 1, 0}));
  EXPECT_EQ(OperatingSystemVersion::parse("5.15.167.4-microsoft"), (OperatingSystemVersion{5, 15, 167}));
  EXPECT_EQ(OperatingSystemVersion::parse("22.6"), (OperatingSystemVersion{22, 6, 0}));
  EXPECT_EQ(OperatingSystemVersion::parse("7"), (OperatingSystemVersion{7, 0, 0}));
  EXPECT_EQ(OperatingSystemVersion::parse("6.x"), (OperatingSystemVersion{6, 0, 0}));
  EXPECT_EQ(OperatingSystemVersion::parse("6.-1"), (OperatingSystemVersion{6, 0, 0}));
  EXPECT_EQ(OperatingSystemVersion::parse(""), OperatingSystemVersion());
  EXPECT_EQ(OperatingSystemVersion::parse("99999999999999999999.1"), OperatingSystemVersion());
}

TEST(ProcessInfoTest, tellsTheVersionOfTheKernel) { EXPECT_GT(ProcessInfo::operatingSystemVersion().majorVersion, 0); }

TEST(ProcessInfoTest, tellsTheVersionThatTheHostSet) {
  const OperatingSystemVersion kernel = ProcessInfo::operatingSystemVersion();

  ProcessInfo::setOperatingSystemVersion(OperatingSystemVersion{13, 3, 1});
  EXPECT_EQ(ProcessInfo::operatingSystemVersion(), (OperatingSystemVersion{13, 3, 1}));

  ProcessInfo::setOperatingSystemVersion(std::nullopt);
  EXPECT_EQ(ProcessInfo::operatingSystemVersion(), kernel);
}

}  // namespace
