#include "Platform/Loading/HTTPDate.hpp"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

#include "FuzzInput.hpp"

namespace platform::fuzz {

namespace {

std::string written(const char* format, std::time_t moment) {
  std::tm parts{};
  gmtime_r(&moment, &parts);
  char text[64];
  return std::string(text, std::strftime(text, sizeof text, format, &parts));
}

/// A date that is read lies within the years that can be written, and reads the same when it is written anew.
void check(std::string_view input) {
  const auto moment = secondsSince1970(input);
  if (!moment) return;
  constexpr std::int64_t firstOfYear0 = -62167219200;
  constexpr std::int64_t firstOfYear10000 = 253402300800;
  require(*moment >= firstOfYear0 && *moment <= firstOfYear10000, "a date is out of range");
  if (*moment == firstOfYear10000) return;  // the leap second at the end of the last year
  const auto time = static_cast<std::time_t>(*moment);
  std::tm parts{};
  gmtime_r(&time, &parts);
  if (parts.tm_year + 1900 < 1000) return;  // strftime(3) writes fewer digits
  require(secondsSince1970(written("%a, %d %b %Y %H:%M:%S GMT", time)) == moment,
          "a date reads otherwise when written");
  require(secondsSince1970(written("%a %b %e %H:%M:%S %Y", time)) == moment, "a date reads otherwise in the form of C");
}

}  // namespace

}  // namespace platform::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  platform::fuzz::check({reinterpret_cast<const char*>(bytes), count});
  return 0;
}
