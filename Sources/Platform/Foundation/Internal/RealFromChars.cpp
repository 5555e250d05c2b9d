#include "Platform/Foundation/Internal/RealFromChars.hpp"

#ifndef __cpp_lib_to_chars

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

#include "Platform/Foundation/Detail/ASCII.hpp"

namespace platform::detail {
namespace {

// strtod(3) and its siblings go by a locale; this one has a point before the fraction.
locale_t plainLocale() {
  static const locale_t locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

bool startsANumber(const std::string& text) {
  const char first = text[text.starts_with('-') ? 1 : 0];
  const bool isHexadecimal = text.find_first_of("xX") != std::string::npos;
  return !isHexadecimal && (isDigit(first) || first == '.');
}

template <class Real>
std::from_chars_result read(const char* first, const char* last, Real& value,
                            Real (*function)(const char*, char**, locale_t)) {
  const std::string text(first, last);
  if (!startsANumber(text)) return {first, std::errc::invalid_argument};
  char* stop = nullptr;
  const Real number = function(text.c_str(), &stop, plainLocale());
  const char* const end = first + (stop - text.c_str());
  if (end == first) return {first, std::errc::invalid_argument};
  const bool hasDigits = text.find_first_of("123456789") < std::min(text.find_first_of("eE"), text.size());
  if (std::isinf(number) || (number == 0 && hasDigits)) return {end, std::errc::result_out_of_range};
  value = number;
  return {end, {}};
}

}  // namespace

std::from_chars_result from_chars(const char* first, const char* last, float& value) {
  return read(first, last, value, ::strtof_l);
}

std::from_chars_result from_chars(const char* first, const char* last, double& value) {
  return read(first, last, value, ::strtod_l);
}

std::from_chars_result from_chars(const char* first, const char* last, long double& value) {
  return read(first, last, value, ::strtold_l);
}

char* writeShortestDecimal(char* out, std::size_t room, long double value) {
  const locale_t outer = ::uselocale(plainLocale());
  int length = 0;
  for (int digits = std::numeric_limits<long double>::digits10;
       digits <= std::numeric_limits<long double>::max_digits10; ++digits) {
    length = std::snprintf(out, room, "%.*Lg", digits, value);
    if (std::strtold(out, nullptr) == value) break;
  }
  ::uselocale(outer);
  return out + length;
}

}  // namespace platform::detail

#endif
