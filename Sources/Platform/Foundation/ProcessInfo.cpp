#include "Platform/Foundation/ProcessInfo.hpp"

#include <sys/utsname.h>

#include <charconv>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Trap.hpp"

namespace platform {

namespace {

struct GivenVersion {
  detail::Mutex mutex;
  std::optional<OperatingSystemVersion> version CORVANE_GUARDED_BY(mutex);
};

GivenVersion& givenVersion() {
  static GivenVersion& shared = *new GivenVersion;
  return shared;
}

OperatingSystemVersion kernelVersion() {
  utsname names;
  if (::uname(&names) != 0) trap("ProcessInfo: the system does not tell its release");
  return OperatingSystemVersion::parse(names.release);
}

}  // namespace

OperatingSystemVersion OperatingSystemVersion::parse(std::string_view release) noexcept {
  OperatingSystemVersion version;
  for (std::int64_t* number : {&version.majorVersion, &version.minorVersion, &version.patchVersion}) {
    if (release.starts_with('-')) break;
    const auto [end, error] = std::from_chars(release.data(), release.data() + release.size(), *number);
    if (error != std::errc()) break;
    release.remove_prefix(static_cast<std::size_t>(end - release.data()));
    if (!release.starts_with('.')) break;
    release.remove_prefix(1);
  }
  return version;
}

OperatingSystemVersion ProcessInfo::operatingSystemVersion() {
  const detail::MutexLock lock(givenVersion().mutex);
  return givenVersion().version ? *givenVersion().version : kernelVersion();
}

void ProcessInfo::setOperatingSystemVersion(std::optional<OperatingSystemVersion> version) {
  const detail::MutexLock lock(givenVersion().mutex);
  givenVersion().version = version;
}

}  // namespace platform
