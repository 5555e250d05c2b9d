#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

/// The version of an operating system, e.g. 13.3.0.
///
///     const auto version = OperatingSystemVersion::parse("6.1.0-18-amd64");  // 6, 1 and 0
struct OperatingSystemVersion {
  /// The three parts, from left to right.
  std::int64_t majorVersion = 0;
  /// The second part.
  std::int64_t minorVersion = 0;
  /// The third part.
  std::int64_t patchVersion = 0;

  /// Reads up to three numbers, separated by dots, at the start of `release`; missing numbers are 0. The kernel's
  /// "6.1.0-18-amd64" is 6.1.0.
  CORVANE_API static OperatingSystemVersion parse(std::string_view release) noexcept;
  friend bool operator==(const OperatingSystemVersion&, const OperatingSystemVersion&) = default;
};

/// Information about the system that the process runs on. Thread-safe.
///
///     std::printf("Linux %d\n", static_cast<int>(ProcessInfo::operatingSystemVersion().majorVersion));
class CORVANE_API ProcessInfo {
 public:
  ProcessInfo() = delete;

  /// The kernel's release, from uname(2), unless another version is set.
  static OperatingSystemVersion operatingSystemVersion();
  /// Replaces the version, for hosts with a version other than the kernel's. Absent: the kernel's again.
  static void setOperatingSystemVersion(std::optional<OperatingSystemVersion> version);
};

}  // namespace platform
