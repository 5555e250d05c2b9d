#include "Corvane/Request/HTTPFormBody.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/JSON/JSONDecoder.hpp"
#include "Platform/Foundation/JSON/JSONValue.hpp"

namespace corvane {
namespace {

using testing::Test;

enum class Size { small = 1, large = 2 };
enum class Colour { red, green };

struct Search {
  std::string words;
  int page;
  double weight;
  bool isExact;
  std::optional<std::string> language;
  std::shared_ptr<int> limit;
  Size size;
  Colour colour;
  std::vector<std::string> tags;
};

struct Account {
  std::string userName;
  std::uint64_t number;
};

/// Writes itself as it likes.
struct Money {
  int cents;
};
struct Order {
  std::string id;
  Money price;
};

struct Event {
  std::chrono::sys_seconds start;
  static platform::JSONEncoder encoder() {
    return platform::JSONEncoder({.dates = platform::JSONDateStrategy::iso8601});
  }
};

struct Person {
  std::string firstName;
  static platform::JSONEncoder encoder() {
    return platform::JSONEncoder({.keys = platform::JSONKeyStrategy::snakeCase});
  }
};

}  // namespace
}  // namespace corvane

template <>
struct platform::JSONCodec<corvane::Colour> {
  static constexpr JSONName<corvane::Colour> names[] = {{corvane::Colour::red, "red"},
                                                        {corvane::Colour::green, "green"}};
};
template <>
struct platform::JSONCodec<corvane::Account> {
  static constexpr JSONKey keys[] = {{"userName", "user name"}};
};
template <>
struct platform::JSONCodec<corvane::Money> {
  static void encode(const corvane::Money& money, JSONWriter& writer) {
    if (money.cents < 0) {
      JSONWriter::Object object(writer);
      object.key("debt");
      writer.encode(-money.cents);
    } else {
      writer.encode(std::to_string(money.cents) + " ct");
    }
  }
};

namespace corvane {
namespace {

std::string messageOf(const std::function<void()>& statement) {
  try {
    statement();
  } catch (const platform::Error& error) {
    return error.message();
  }
  return "<nothing was thrown>";
}

TEST(HTTPFormBodyTest, keepsTheOrderAndRepeatedNames) {
  const HTTPFormBody form{{"b", "1"}, {"a", "2"}, {"b", "3"}};

  EXPECT_EQ(form.text(), "b=1&a=2&b=3");
  EXPECT_EQ(form.items(), (std::vector<HTTPFormBody::Item>{{"b", "1"}, {"a", "2"}, {"b", "3"}}));
}

TEST(HTTPFormBodyTest, isEmptyWithoutItems) {
  EXPECT_EQ(HTTPFormBody().text(), "");
  EXPECT_EQ(HTTPFormBody().asData().count(), 0U);
  EXPECT_EQ((HTTPFormBody{{"", ""}, {"", ""}}).text(), "=&=");
}

TEST(HTTPFormBodyTest, encodesEveryByteAsTheStandardSays) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);

  const std::string text = HTTPFormBody{{"x", all}}.text();

  std::string expected = "x=";
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    if (byte < 128 && (std::isalnum(byte) || c == '*' || c == '-' || c == '.' || c == '_')) {
      expected += c;
    } else if (c == ' ') {
      expected += '+';
    } else {
      char coded[4];
      std::snprintf(coded, sizeof coded, "%%%02X", static_cast<unsigned>(byte));
      expected += coded;
    }
  }
  EXPECT_EQ(text, expected);
}

TEST(HTTPFormBodyTest, encodesNamesLikeValues) {
  EXPECT_EQ((HTTPFormBody{{"a b&c=d", "é + 值\r\n"}}).text(), "a+b%26c%3Dd=%C3%A9+%2B+%E5%80%BC%0D%0A");
}

TEST(HTTPFormBodyTest, takesAnyPrintableValue) {
  HTTPFormBody form{{"page", 2}, {"exact", true}, {"weight", 0.5}};
  form.append("letter", 'x');

  EXPECT_EQ(form.text(), "page=2&exact=true&weight=0.5&letter=x");
}

TEST(HTTPFormBodyTest, isMadeOfAPlainStruct) {
  const Search search{.words = "a b",
                      .page = -3,
                      .weight = 0.1,
                      .isExact = false,
                      .language = std::nullopt,
                      .limit = std::make_shared<int>(10),
                      .size = Size::large,
                      .colour = Colour::green,
                      .tags = {"x", "y&z"}};

  EXPECT_EQ(HTTPFormBody::of(search).text(),
            "words=a+b&page=-3&weight=0.1&isExact=false&limit=10&size=2&colour=green&tags=x&tags=y%26z");
}

TEST(HTTPFormBodyTest, takesTheKeysOfTheModel) {
  EXPECT_EQ(HTTPFormBody::of(Account{.userName = "ada", .number = 18446744073709551615U}).text(),
            "user+name=ada&number=18446744073709551615");
  EXPECT_EQ(HTTPFormBody::of(Person{.firstName = "Ada"}).text(), "first_name=Ada");
  EXPECT_EQ(HTTPFormBody::of(std::map<std::string, int>{{"a", 1}, {"b", 2}}).text(), "a=1&b=2");
}

TEST(HTTPFormBodyTest, writesDatesAsTheEncoderOfTheModelDoes) {
  EXPECT_EQ(HTTPFormBody::of(Event{.start = std::chrono::sys_seconds(std::chrono::seconds(0))}).text(),
            "start=1970-01-01T00%3A00%3A00Z");
}

TEST(HTTPFormBodyTest, namesTheMemberThatIsNoValueOfAForm) {
  EXPECT_EQ(HTTPFormBody::of(Order{.id = "7", .price = {.cents = 250}}).text(), "id=7&price=250+ct");
  EXPECT_EQ(messageOf([] { HTTPFormBody::of(Order{.id = "7", .price = {.cents = -1}}); }),
            "A form cannot have the member \"price\": it is an object, and the values of a form are numbers, Booleans, "
            "text and lists of them");
  EXPECT_EQ(messageOf([] { HTTPFormBody::of(Money{.cents = 1}); }),
            "A form is made of a value with named members, and this one is written as JSON without any");
}

}  // namespace
}  // namespace corvane
