#include <algorithm>
#include <charconv>
#include <cmath>
#include <type_traits>

#include "Platform/Foundation/Internal/RealFromChars.hpp"
#include "Platform/Foundation/JSON/JSONWriter.hpp"

namespace platform {
namespace {

/// Enough for the shortest form of any number: sign, 21 digits, point, exponent.
constexpr std::size_t longestNumber = 48;

/// Numbers that have few digits, as most in documents do, in a fraction of the time; null for all others.
///
/// When digits / 10^8 gives exactly the value back, then so does the decimal with those digits; below 2^51
/// digits there is no second such decimal with as many places, so without its zeros it is the shortest.
char* writeShort(char* out, double value) {
  constexpr double scale = 1e8;
  constexpr double limit = static_cast<double>(std::int64_t{1} << 51) / scale;
  if (!(std::fabs(value) < limit) || (value == 0 && std::signbit(value))) return nullptr;
  const auto scaled = static_cast<std::int64_t>(std::nearbyint(value * scale));
  if (static_cast<double>(scaled) / scale != value || (scaled != 0 && std::fabs(value) < 1e-4)) return nullptr;
  const std::uint64_t digits = static_cast<std::uint64_t>(scaled < 0 ? -scaled : scaled);
  if (scaled < 0) *out++ = '-';
  constexpr std::uint64_t places = 100'000'000;
  out = std::to_chars(out, out + longestNumber, digits / places).ptr;
  std::uint64_t fraction = digits % places;
  if (fraction == 0) return out;
  int count = 8;
  for (; fraction % 10 == 0; fraction /= 10) --count;
  *out++ = '.';
  for (int place = count - 1; place >= 0; --place, fraction /= 10) out[place] = static_cast<char>('0' + fraction % 10);
  return out + count;
}

/// "1e+22" and "1e-07" as "1e22" and "1e-7".
char* withShortExponent(char* begin, char* end) {
  char* out = std::find(begin, end, 'e');
  if (out == end) return end;
  const char* in = ++out;
  if (*in == '-') ++out;
  ++in;
  while (*in == '0') ++in;
  return std::copy(in, static_cast<const char*>(end), out);
}

template <class Real>
char* writeShortest(char* out, Real value) {
  if constexpr (std::is_same_v<Real, double>) {
    if (char* const end = writeShort(out, value)) return end;
  }
#ifndef __cpp_lib_to_chars
  if constexpr (std::is_same_v<Real, long double>) {
    return withShortExponent(out, detail::writeShortestDecimal(out, longestNumber, value));
  }
#endif
  return withShortExponent(out, std::to_chars(out, out + longestNumber, value).ptr);
}

template <class Real>
std::string_view nameOfNonNumber(Real value) {
  if (std::isnan(value)) return "a value that is not a number";
  return value < 0 ? "negative infinity" : "infinity";
}

}  // namespace

void JSONWriter::writeSigned(std::int64_t value) {
  char* const out = need(longestNumber);
  cursor_ = std::to_chars(out, out + longestNumber, value).ptr;
}

void JSONWriter::writeUnsigned(std::uint64_t value) {
  char* const out = need(longestNumber);
  cursor_ = std::to_chars(out, out + longestNumber, value).ptr;
}

void JSONWriter::writeReal(float value) {
  if (!std::isfinite(value)) fail("JSON has no number for " + std::string(nameOfNonNumber(value)));
  cursor_ = writeShortest(need(longestNumber), value);
}

void JSONWriter::writeReal(double value) {
  if (!std::isfinite(value)) fail("JSON has no number for " + std::string(nameOfNonNumber(value)));
  cursor_ = writeShortest(need(longestNumber), value);
}

void JSONWriter::writeReal(long double value) {
  if (!std::isfinite(value)) fail("JSON has no number for " + std::string(nameOfNonNumber(value)));
  cursor_ = writeShortest(need(longestNumber), value);
}

}  // namespace platform
