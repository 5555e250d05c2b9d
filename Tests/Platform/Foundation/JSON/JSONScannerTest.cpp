#include "Platform/Foundation/JSON/Detail/JSONScanner.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/JSON/Internal/JSONScannerNumbers.hpp"

namespace platform::detail {
namespace {

/// The bytes after the end of the text go on as a document might.
class JSONScannerTest : public ::testing::Test {
 public:
  static Data padded(std::string_view text) {
    Data data(text);
    data.append(std::string_view(R"(0"e1.5"\u0041)"));
    data.resize(text.size());
    return data;
  }

  /// Where the fault is, and what is wrong.
  static std::string described(const JSONScanner& scanner) {
    const JSONFault& fault = scanner.fault();
    const std::string what = fault.expected ? "expected " + std::string(fault.expected) : fault.problem;
    return std::to_string(fault.position - scanner.begin()) + ": " + what;
  }
  static std::string stringIn(std::string_view document) {
    const Data data = padded(document);
    JSONScanner scanner(data.view());
    std::string_view text;
    std::string unescaped;
    scanner.next();
    return scanner.passString(text, unescaped) ? std::string(text) : described(scanner);
  }
  static std::string numberIn(std::string_view document) {
    const Data data = padded(document);
    JSONScanner scanner(data.view());
    scanner.next();
    if (!scanner.passNumber()) return described(scanner);
    return {scanner.begin(), scanner.cursor()};
  }
};

TEST_F(JSONScannerTest, goesFromTokenToToken) {
  const Data document = padded(" [ 12 , \"a\\n\",true\t]\r\n");
  JSONScanner scanner(document.view());
  std::string tokens;
  std::string_view text;
  std::string unescaped;

  for (char first = scanner.next(); first != '\0'; first = scanner.next()) {
    const char* const start = scanner.cursor();
    if (first == '"') {
      ASSERT_TRUE(scanner.passString(text, unescaped));
      EXPECT_EQ(text, "a\n");
    } else if (first == 't') {
      ASSERT_TRUE(scanner.passWord("true"));
    } else if (first == '1') {
      ASSERT_TRUE(scanner.passNumber());
    } else {
      scanner.pass();
    }
    tokens.append(start, scanner.cursor()).append(" ");
  }

  EXPECT_EQ(tokens, "[ 12 , \"a\\n\" , true ] ");
  EXPECT_EQ(scanner.cursor(), scanner.end());
}

TEST_F(JSONScannerTest, doesNotCareWhichTokenFollowsWhich) {
  const Data document = padded("]1{null");
  JSONScanner scanner(document.view());

  EXPECT_EQ(scanner.next(), ']');
  scanner.pass();
  EXPECT_TRUE(scanner.passNumber());
  EXPECT_EQ(scanner.next(), '{');
  scanner.pass();
  EXPECT_TRUE(scanner.passWord("null"));
}

TEST_F(JSONScannerTest, passesAByteOrderMark) {
  const Data document = padded("\xEF\xBB\xBF 7");
  JSONScanner scanner(document.view());

  EXPECT_EQ(scanner.next(), '7');
  EXPECT_EQ(scanner.cursor() - scanner.begin(), 4);
}

TEST_F(JSONScannerTest, copiesAStringOnlyForItsEscapes) {
  const Data document = padded(R"("caf\u00e9""plain")");
  JSONScanner scanner(document.view());
  std::string_view text;
  std::string unescaped;

  ASSERT_TRUE(scanner.passString(text, unescaped));
  EXPECT_EQ(text, "caf\u00e9");
  EXPECT_EQ(text.data(), unescaped.data());
  ASSERT_TRUE(scanner.passString(text, unescaped));
  EXPECT_EQ(text, "plain");
  EXPECT_EQ(text.data() - document.view().data(), 12);
}

TEST_F(JSONScannerTest, tellsWhereAStringStopsBeingOne) {
  EXPECT_EQ(stringIn("\"open"), "5: expected a closing quote");
  EXPECT_EQ(stringIn("\"a\\"), "3: expected the rest of an escape");
  EXPECT_EQ(stringIn("\"\\u00g0\""), "5: expected a hexadecimal digit");
  EXPECT_EQ(stringIn("\"a\\x\""), "2: the text is not JSON: this escape does not exist");
  EXPECT_EQ(stringIn("\"a\nb\""), "2: the text is not JSON: a control character must be escaped in a string");
  EXPECT_EQ(stringIn("\"a\xFF\""), "0: the text is not UTF-8");
  EXPECT_EQ(stringIn("\"\\n\xFF\""), "3: the text is not UTF-8");
  EXPECT_EQ(stringIn("\"a\\ud800b\""), "2: half of a pair of surrogates stands alone");
  EXPECT_EQ(stringIn("\"\\ud800\\u0041\""), "1: half of a pair of surrogates stands alone");
}

TEST_F(JSONScannerTest, findsTheEndOfANumber) {
  EXPECT_EQ(numberIn("-12.5e+3,"), "-12.5e+3");
  EXPECT_EQ(numberIn("0]"), "0");
  EXPECT_EQ(numberIn(std::string(100, '7') + " "), std::string(100, '7'));
  EXPECT_EQ(numberIn("1.25"), "1.25") << "the digits after the document are none of its own";
}

TEST_F(JSONScannerTest, tellsWhereANumberStopsBeingOne) {
  EXPECT_EQ(numberIn("-"), "1: expected a digit of a number");
  EXPECT_EQ(numberIn("1."), "2: expected a digit of a number");
  EXPECT_EQ(numberIn("1.e5"), "2: expected a digit of a number");
  EXPECT_EQ(numberIn("1e+"), "3: expected a digit of a number");
  EXPECT_EQ(numberIn("-012"), "2: expected no digit after the leading 0 of a number");
}

TEST_F(JSONScannerTest, tellsWhichWordIsNotThere) {
  const Data document = padded("tru");
  JSONScanner scanner(document.view());

  EXPECT_FALSE(scanner.passWord("true"));
  EXPECT_EQ(described(scanner), "0: expected true");
}

TEST_F(JSONScannerTest, takesNumbersApart) {
  const Data document = padded("-120.50e2");
  const std::string_view text = document.view();
  JSONNumber number;

  ASSERT_TRUE(scanNumber(text.data(), text.data() + text.size(), number));

  EXPECT_EQ(number.text(), text);
  EXPECT_EQ(number.digits, 12050u);
  EXPECT_EQ(number.exponent, 0);
  EXPECT_TRUE(number.isNegative);
  EXPECT_FALSE(number.isInteger);
  EXPECT_TRUE(number.isComplete);
}

}  // namespace
}  // namespace platform::detail
