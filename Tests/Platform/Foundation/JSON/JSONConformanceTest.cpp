#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <string_view>

#include "Platform/Foundation/JSON/JSONConformanceModels.hpp"
#include "Platform/Foundation/JSON/JSONConformanceSamples.hpp"
#include "Platform/Foundation/JSON/JSONDecoder.hpp"
#include "Platform/Foundation/JSON/JSONEncoder.hpp"
#include "Platform/Foundation/JSON/JSONValue.hpp"

namespace platform::json_conformance {

namespace {

/// What became of a text: the message of the refusal, or empty when it was taken.
struct Outcome {
  std::string text;
  std::string refusal;

  testing::AssertionResult isTaken() const {
    return refusal.empty() ? testing::AssertionSuccess() << testing::PrintToString(text) << " was taken"
                           : testing::AssertionFailure() << testing::PrintToString(text) << " was refused: " << refusal;
  }
  testing::AssertionResult isRefused() const { return !isTaken(); }
  testing::AssertionResult isTakenOnlyIf(bool isExpected) const { return isExpected ? isTaken() : isRefused(); }
};

template <class T>
Outcome outcome(const Data& data) {
  try {
    JSONDecoder{}.decode<T>(data);
    return {data.text(), ""};
  } catch (const DecodingError& error) {
    return {data.text(), error.message().empty() ? "(no message)" : error.message()};
  } catch (const std::exception& error) {
    ADD_FAILURE() << testing::PrintToString(data.text()) << " threw something else: " << error.what();
    return {data.text(), error.what()};
  }
}

Outcome readFreely(std::string_view text) { return outcome<JSONValue>(Data(text)); }

Outcome skipped(std::string_view text) {
  return outcome<Kept>(Data(R"({"ignored": )" + std::string(text) + R"(, "kept": 1})"));
}

/// The first bytes of a text, with the rest of it in the memory after them.
Data beginning(std::string_view text, std::size_t count) {
  Data data(text);
  data.resize(count);
  return data;
}

std::string_view withoutWhiteSpace(std::string_view text) {
  constexpr std::string_view whiteSpace = " \t\r\n";
  text.remove_prefix(text.find_first_not_of(whiteSpace));
  return text.substr(0, text.find_last_not_of(whiteSpace) + 1);
}

/// Whether the beginning of a document is one. Only a number has such a beginning: one that ends with a digit.
bool isDocument(std::string_view beginning, std::string_view document) {
  const bool isNumber = document.front() == '-' || (document.front() >= '0' && document.front() <= '9');
  if (!isNumber) return beginning == document;
  return !beginning.empty() && beginning.back() >= '0' && beginning.back() <= '9';
}

class JSONAcceptanceTest : public testing::TestWithParam<Group> {};
class JSONRejectionTest : public testing::TestWithParam<Group> {};

constexpr auto nameOfGroup = [](const auto& info) { return std::string(info.param.name); };

TEST_P(JSONAcceptanceTest, readsADocumentAsAFreeValue) {
  for (const auto& [name, text] : GetParam().samples) {
    EXPECT_TRUE(readFreely(text).isTaken()) << name;
  }
}

TEST_P(JSONAcceptanceTest, skipsAValueThatNobodyAsksFor) {
  for (const auto& [name, text] : GetParam().samples) {
    EXPECT_TRUE(skipped(text).isTaken()) << name;
  }
}

TEST_P(JSONAcceptanceTest, refusesADocumentThatIsCutAtAnyByte) {
  for (const auto& [name, text] : GetParam().samples) {
    const std::string_view document = withoutWhiteSpace(text);
    for (std::size_t count = 0; count < document.size(); ++count) {
      const std::string_view cut = document.substr(0, count);
      const bool isWhole = isDocument(cut, document);

      EXPECT_TRUE(readFreely(cut).isTakenOnlyIf(isWhole)) << name;
      EXPECT_TRUE(outcome<JSONValue>(beginning(document, count)).isTakenOnlyIf(isWhole)) << name;
    }
  }
}

TEST_P(JSONAcceptanceTest, refusesASkippedValueThatIsCutAtAnyByte) {
  for (const auto& [name, text] : GetParam().samples) {
    const std::string document = R"({"kept": 1, "ignored": )" + std::string(text) + "}";
    for (std::size_t count = 0; count < document.size(); ++count) {
      EXPECT_TRUE(outcome<Kept>(beginning(document, count)).isRefused()) << name;
    }
  }
}

TEST_P(JSONAcceptanceTest, writesAFreeValueSoThatItReadsTheSameAgain) {
  for (const auto& [name, text] : GetParam().samples) {
    const JSONValue value = JSONDecoder{}.decode<JSONValue>(Data(text));

    const Data written = JSONEncoder{}.encode(value);

    const JSONValue again = JSONDecoder{}.decode<JSONValue>(written);
    EXPECT_TRUE(value == again) << name << ": " << written.view();
    EXPECT_EQ(JSONEncoder{}.encode(again).view(), written.view()) << name;
  }
}

TEST_P(JSONRejectionTest, refusesToReadItAsAFreeValue) {
  for (const auto& [name, text] : GetParam().samples) {
    EXPECT_TRUE(readFreely(text).isRefused()) << name;
  }
}

TEST_P(JSONRejectionTest, refusesToSkipIt) {
  for (const auto& [name, text] : GetParam().samples) {
    EXPECT_TRUE(skipped(text).isRefused()) << name;
  }
}

TEST_P(JSONRejectionTest, isNotMisledByWhatStandsAfterIt) {
  for (const auto& [name, text] : GetParam().samples) {
    for (const char* rest : {"\"", "}", "]", "0", "\"}", "1]}", "e"}) {
      EXPECT_TRUE(outcome<JSONValue>(beginning(std::string(text) + rest, text.size())).isRefused()) << name;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(RFC8259, JSONAcceptanceTest,
                         testing::Values(acceptedStructures, acceptedNumbers, acceptedStrings, chosenToAccept),
                         nameOfGroup);
INSTANTIATE_TEST_SUITE_P(RFC8259, JSONRejectionTest,
                         testing::Values(rejectedStructures, rejectedLiterals, rejectedNumbers, rejectedStrings,
                                         rejectedUTF8, chosenToReject),
                         nameOfGroup);

TEST(JSONChoiceTest, refusesANumberOutOfRangeOnlyWhereItIsRead) {
  for (const auto& [name, text] : numbersOutOfRange.samples) {
    EXPECT_TRUE(readFreely(text).isRefused()) << name;
    EXPECT_TRUE(skipped(text).isTaken()) << name;
  }
}

TEST(JSONChoiceTest, passesOverAByteOrderMarkAtTheStart) {
  for (const auto& [name, text] : chosenToAcceptAtTheStart.samples) {
    EXPECT_TRUE(readFreely(text).isTaken()) << name;
    EXPECT_TRUE(skipped(text).isRefused()) << name;
  }
}

TEST(JSONChoiceTest, refusesOtherEncodingsThanUTF8) {
  for (const auto& [name, text] : chosenToRejectAtTheStart.samples) {
    EXPECT_TRUE(readFreely(text).isRefused()) << name;
    EXPECT_TRUE(outcome<Kept>(Data(text)).isRefused()) << name;
  }
}

}  // namespace

}  // namespace platform::json_conformance
