#include "Platform/Foundation/JSON/JSONConformanceSamples.hpp"

namespace platform::json_conformance {

namespace {

using namespace std::string_view_literals;

constexpr Sample accepted[] = {
    {"a name twice", R"({"a":1,"a":2})"sv},
    {"a name twice with the same value", R"({"a":1,"a":1})"sv},
    {"a name twice with values of two kinds", R"({"a":[1],"a":{"b":2}})"sv},
    {"a name twice, once in escapes", R"({"a":1,"\u0061":2})"sv},
    {"an empty name twice", R"({"":1,"":2})"sv},
    {"a number too small for a double", "1e-400"sv},
    {"a negative number too small for a double", "-1e-400"sv},
    {"a number far too small for a double", "1e-99999999999999999999"sv},
    {"less than half of the smallest double", "2e-324"sv},
    {"zero with an exponent of many digits", "0e99999999999999999999"sv},
    {"zero with a fraction and an exponent of many digits", "-0.000e99999999999999999999"sv},
    {"forty digits", "1234567890123456789012345678901234567890"sv},
};

constexpr Sample rejected[] = {
    {"the first half of a pair only", R"("\uD800")"sv},
    {"the last first half only", R"("\uDBFF")"sv},
    {"the second half of a pair only", R"("\uDC00")"sv},
    {"the last second half only", R"("\uDFFF")"sv},
    {"a first half in small letters", R"("\ud83d")"sv},
    {"a first half before a letter", R"("\uD83Da")"sv},
    {"a first half after a letter", R"("a\uD83D")"sv},
    {"a second half before a letter", R"("\uDE00a")"sv},
    {"a second half after a letter", R"("a\uDE00")"sv},
    {"a first half twice", R"("\uD83D\uD83D")"sv},
    {"a first half before a pair", R"("\uD83D\uD83D\uDE00")"sv},
    {"a second half after a pair", R"("\uD83D\uDE00\uDE00")"sv},
    {"a pair in the wrong order", R"("\uDE00\uD83D")"sv},
    {"a first half before another escape by number", R"("\uD83D\u0041")"sv},
    {"a first half before the last escape ahead of the second halves", R"("\uD83D\uDBFF")"sv},
    {"a first half before the first escape past the second halves", R"("\uD83D\uE000")"sv},
    {"a first half before a short escape", R"("\uD83D\n")"sv},
    {"a first half before an escaped backslash", R"("\uD83D\\uDE00")"sv},
    {"a first half escaped, the second as it is", "\"\\uD83D\xED\xB8\x80\""sv},
    {"a half in a name", R"({"\uD83D":1})"sv},
    {"a half deep inside", R"({"a":[{"b":["\uDE00"]}]})"sv},
};

constexpr Sample outOfRange[] = {
    {"a large exponent", "1e400"sv},
    {"a large exponent of a negative number", "-1e400"sv},
    {"the first power of ten beyond", "1e309"sv},
    {"a little more than the largest double", "1.7976931348623159e308"sv},
    {"a little less than the smallest double", "-1.7976931348623159e308"sv},
    {"an exponent of many digits", "1e99999999999999999999"sv},
    {"an exponent of 64 bits", "1e18446744073709551617"sv},
    {"an exponent with zeros in front", "1e000000000000000000400"sv},
    {"many digits and an exponent", "123456789012345678901234567890e290"sv},
    {"in an array", "[1,1e400]"sv},
    {"in an object", R"({"a":1,"b":-1e400})"sv},
};

constexpr Sample acceptedAtTheStart[] = {
    {"a byte-order mark before an object", "\xEF\xBB\xBF{\"a\":1}"sv},
    {"a byte-order mark before an array", "\xEF\xBB\xBF[]"sv},
    {"a byte-order mark before a number",
     "\xEF\xBB\xBF"
     "1"sv},
    {"a byte-order mark before white space", "\xEF\xBB\xBF \n[]"sv},
};

constexpr Sample rejectedAtTheStart[] = {
    {"a byte-order mark only", "\xEF\xBB\xBF"sv},
    {"a byte-order mark and white space only", "\xEF\xBB\xBF \n"sv},
    {"two byte-order marks", "\xEF\xBB\xBF\xEF\xBB\xBF[]"sv},
    {"the first byte of a byte-order mark",
     "\xEF"
     "[]"sv},
    {"two bytes of a byte-order mark",
     "\xEF\xBB"
     "[]"sv},
    {"half a byte-order mark only", "\xEF\xBB"sv},
    {"UTF-16, little end first, with its mark", "\xFF\xFE[\0]\0"sv},
    {"UTF-16, big end first, with its mark", "\xFE\xFF\0[\0]"sv},
    {"UTF-16, little end first", "[\0]\0"sv},
    {"UTF-16, big end first", "\0[\0]"sv},
    {"numbers in UTF-16, little end first", "1\0002\0"sv},
    {"a string in UTF-16, big end first", "\0\"\0a\0\""sv},
    {"UTF-32, little end first, with its mark", "\xFF\xFE\0\0[\0\0\0]\0\0\0"sv},
    {"UTF-32, big end first, with its mark", "\0\0\xFE\xFF\0\0\0[\0\0\0]"sv},
    {"UTF-32, little end first", "[\0\0\0]\0\0\0"sv},
    {"UTF-32, big end first", "\0\0\0[\0\0\0]"sv},
    {"UTF-7", "+AFsAXQ-"sv},
};

}  // namespace

constinit const Group chosenToAccept{"accepted", accepted};
constinit const Group chosenToReject{"rejected", rejected};
constinit const Group numbersOutOfRange{"numbersOutOfRange", outOfRange};
constinit const Group chosenToAcceptAtTheStart{"acceptedAtTheStart", acceptedAtTheStart};
constinit const Group chosenToRejectAtTheStart{"rejectedAtTheStart", rejectedAtTheStart};

}  // namespace platform::json_conformance
