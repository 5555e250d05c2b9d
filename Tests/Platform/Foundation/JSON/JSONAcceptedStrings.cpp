#include "Platform/Foundation/JSON/JSONConformanceSamples.hpp"

namespace platform::json_conformance {

namespace {

using namespace std::string_view_literals;

// Section 7, and RFC 3629 for what stands unescaped.
constexpr Sample strings[] = {
    {"an empty string", R"("")"sv},
    {"one letter", R"("a")"sv},
    {"a space", R"(" ")"sv},
    {"printable ASCII", R"("!#$%&'()*+,-./0189:;<=>?@AZ[]^_`az{|}~")"sv},
    {"an escaped quotation mark", R"("\"")"sv},
    {"an escaped backslash", R"("\\")"sv},
    {"an escaped solidus", R"("\/")"sv},
    {"a solidus as it is", R"("/")"sv},
    {"an escaped backspace", R"("\b")"sv},
    {"an escaped form feed", R"("\f")"sv},
    {"an escaped line feed", R"("\n")"sv},
    {"an escaped carriage return", R"("\r")"sv},
    {"an escaped tab", R"("\t")"sv},
    {"every short escape in a row", R"("\"\\\/\b\f\n\r\t")"sv},
    {"every short escape between letters", R"("a\"b\\c\/d\be\ff\ng\rh\ti")"sv},
    {"two backslashes", R"("\\\\")"sv},
    {"a backslash and a quotation mark", R"("\\\"")"sv},
    {"a backslash before what looks like an escape", R"("\\u0041\\n")"sv},
    {"an escaped letter", R"("\u0041")"sv},
    {"hexadecimal digits in capitals", R"("\u00AF")"sv},
    {"hexadecimal digits in small letters", R"("\u00af")"sv},
    {"hexadecimal digits in both", R"("\u0aBc\uCdEf")"sv},
    {"an escape with digits after", R"("\u00410041")"sv},
    {"an escaped NUL", R"("\u0000")"sv},
    {"escaped NULs between letters", R"("a\u0000b\u0000")"sv},
    {"the last control character, escaped", R"("\u001f")"sv},
    {"an escaped quotation mark by number", R"("\u0022")"sv},
    {"an escaped backslash by number", R"("\u005C")"sv},
    {"an escaped delete", R"("\u007F")"sv},
    {"delete as it is", "\"\x7F\""sv},
    {"an escape of two bytes", R"("\u00e9")"sv},
    {"an escape of three bytes", R"("\u20AC")"sv},
    {"the last escape before the surrogates", R"("\uD7FF")"sv},
    {"the first escape after the surrogates", R"("\uE000")"sv},
    {"a surrogate pair", R"("\uD83D\uDE00")"sv},
    {"a surrogate pair in small letters", R"("\ud83d\ude00")"sv},
    {"the first surrogate pair", R"("\uD800\uDC00")"sv},
    {"the last surrogate pair", R"("\uDBFF\uDFFF")"sv},
    {"surrogate pairs in a row", R"("\uD83D\uDE00\uD83D\uDE01")"sv},
    {"a surrogate pair between letters", R"("a\uD83D\uDE00b")"sv},
    {"escaped noncharacters", R"("\uFFFE\uFFFF\uFDD0")"sv},
    {"an escaped byte-order mark", R"("\uFEFF")"sv},
    {"escaped line separators", R"("\u2028\u2029")"sv},
    {"two bytes", "\"\xC3\xA9\""sv},
    {"the first of two bytes", "\"\xC2\x80\""sv},
    {"the last of two bytes", "\"\xDF\xBF\""sv},
    {"three bytes", "\"\xE2\x82\xAC\""sv},
    {"the first of three bytes", "\"\xE0\xA0\x80\""sv},
    {"the last before the surrogates", "\"\xED\x9F\xBF\""sv},
    {"the first after the surrogates", "\"\xEE\x80\x80\""sv},
    {"the last of three bytes", "\"\xEF\xBF\xBF\""sv},
    {"four bytes", "\"\xF0\x9F\x98\x80\""sv},
    {"the first of four bytes", "\"\xF0\x90\x80\x80\""sv},
    {"the last of four bytes", "\"\xF4\x8F\xBF\xBF\""sv},
    {"characters of every length", "\"a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z\""sv},
    {"noncharacters as they are", "\"\xEF\xBF\xBE\xEF\xB7\x90\""sv},
    {"line separators as they are", "\"\xE2\x80\xA8\xE2\x80\xA9\""sv},
    {"a byte-order mark inside", "\"a\xEF\xBB\xBF\""sv},
    {"a no-break space", "\"\xC2\xA0\""sv},
    {"a letter with a combining accent", "\"e\xCC\x81\""sv},
    {"what looks like structure", R"("{\"a\":[1,2],}")"sv},
    {"what looks like a comment", R"("/* a */ // b # c")"sv},
    {"what looks like an ending", R"("\\\\\"]}")"sv},
    {"strings in an array", R"(["","a","\"","\\",""])"sv},
    {"strings as names and values", R"({"a":"b","c\n":"d\n","":""})"sv},
    {"a string longer than a vector register",
     R"("0123456789012345678901234567890123456789012345678901234567890123456789\n0123456789")"sv},
    {"many escapes in a row",
     R"("\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n\n")"sv},
    {"many backslashes in a row",
     R"("\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\\")"sv},
};

}  // namespace

constinit const Group acceptedStrings{"strings", strings};

}  // namespace platform::json_conformance
