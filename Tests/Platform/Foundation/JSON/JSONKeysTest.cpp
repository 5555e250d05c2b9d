#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "Platform/Foundation/JSON/JSONStrategies.hpp"
#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform::json_keys {

struct Account {
  std::string login;
  int id = 0;
  std::optional<std::string> contentType;
  int quoted = 0;
};
struct Swapped {
  int first = 0;
  int second = 0;
};

}  // namespace platform::json_keys

template <>
struct platform::JSONCodec<platform::json_keys::Account> {
  static constexpr JSONKey keys[] = {
      {"login", "user_login"}, {"contentType", "Content-Type"}, {"quoted", "a \"quoted\"\\b\n\u00e9"}};
};
template <>
struct platform::JSONCodec<platform::json_keys::Swapped> {
  static constexpr JSONKey keys[] = {{"first", "second"}, {"second", "first"}};
};

namespace platform::json_keys {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;
using platform::testing::refusal;
using platform::testing::refusalMessage;

constexpr JSONStrategies snakeCase{.keys = JSONKeyStrategy::snakeCase};

const Account account{"ada", 7, "text/plain", 1};
constexpr const char* accountText =
    "{\"user_login\":\"ada\",\"id\":7,\"Content-Type\":\"text/plain\",\"a \\\"quoted\\\"\\\\b\\n\u00e9\":1}";

TEST(JSONRenamedKeysTest, standInPlaceOfTheNames) {
  const auto read = decoded<Account>(accountText);

  EXPECT_EQ(encoded(account), accountText);
  EXPECT_EQ(read.login, "ada");
  EXPECT_EQ(read.id, 7);
  EXPECT_EQ(read.contentType, "text/plain");
  EXPECT_EQ(read.quoted, 1);
}

TEST(JSONRenamedKeysTest, areReadInAnyOrderAndWithWhiteSpace) {
  const auto read =
      decoded<Account>("{ \"a \\\"quoted\\\"\\\\b\\n\u00e9\" : 1 , \"id\" : 7 , \"user_login\" : \"ada\" }");

  EXPECT_EQ(read.login, "ada");
  EXPECT_EQ(read.quoted, 1);
}

TEST(JSONRenamedKeysTest, areTheOnlyOnes) {
  EXPECT_EQ(refusal<Account>(R"({"login":"ada","id":7})").key(), "user_login");
}

TEST(JSONRenamedKeysTest, areNotTakenFromTextThatIsNotJSON) {
  EXPECT_EQ(refusal<Account>("{\"user_login\":\"ada\",\"id\":7,\"a \"quoted\"\\b\n\u00e9\":1}").which(),
            DecodingError::Case::dataCorrupted);
}

TEST(JSONRenamedKeysTest, standInPaths) {
  EXPECT_EQ(refusalMessage<Account>(R"({"user_login":7})"), "user_login: expected a string, found a number");
  EXPECT_EQ(refusalMessage<Account>(R"({"Content-Type":7})"), "[\"Content-Type\"]: expected a string, found a number");
}

TEST(JSONRenamedKeysTest, mayBeSwapped) {
  const auto swapped = decoded<Swapped>(R"({"first":1,"second":2})");

  EXPECT_EQ(swapped.first, 2);
  EXPECT_EQ(swapped.second, 1);
  EXPECT_EQ(encoded(swapped), R"({"second":2,"first":1})");
}

TEST(JSONRenamedKeysTest, areNotChangedByAStrategy) {
  EXPECT_EQ(encoded(account, snakeCase), accountText);
  EXPECT_EQ(decoded<Account>(accountText, snakeCase).login, "ada");
}

TEST(JSONKeyStrategyTest, writesWordsApart) {
  const std::pair<const char*, const char*> samples[] = {{"name", "name"},
                                                         {"firstName", "first_name"},
                                                         {"first_name", "first_name"},
                                                         {"aB", "a_b"},
                                                         {"userID", "user_id"},
                                                         {"URL", "url"},
                                                         {"myURLPath", "my_url_path"},
                                                         {"HTTPServer", "http_server"},
                                                         {"address2Line", "address2_line"},
                                                         {"my2D", "my2_d"},
                                                         {"_private", "_private"},
                                                         {"_Private", "_private"},
                                                         {"snake_Case", "snake_case"},
                                                         {"trailing_", "trailing_"},
                                                         {"X", "x"},
                                                         {"x1", "x1"},
                                                         {"a_B_c", "a_b_c"}};
  for (const auto& [name, key] : samples) {
    EXPECT_EQ(jsonKey(name, JSONKeyStrategy::snakeCase), key);
    EXPECT_EQ(jsonKey(name, JSONKeyStrategy::asDeclared), name);
  }
}

struct Person {
  std::string firstName;
  int birth_year;
  std::optional<std::string> homeURL;
};

TEST(JSONKeyStrategyTest, worksInBothDirections) {
  const char* const text = R"({"first_name":"Ada","birth_year":1815,"home_url":"/"})";
  const auto person = decoded<Person>(text, snakeCase);

  EXPECT_EQ(person.firstName, "Ada");
  EXPECT_EQ(person.birth_year, 1815);
  EXPECT_EQ(person.homeURL, "/");
  EXPECT_EQ(encoded(person, snakeCase), text);
  EXPECT_EQ(encoded(person), R"({"firstName":"Ada","birth_year":1815,"homeURL":"/"})");
}

TEST(JSONKeyStrategyTest, standsInPathsAndMissingKeys) {
  EXPECT_EQ(refusal<Person>(R"({"firstName":"Ada","birth_year":1815})", snakeCase).key(), "first_name");
  EXPECT_EQ(refusalMessage<Person>(R"({"first_name":1})", snakeCase), "first_name: expected a string, found a number");
}

TEST(JSONKeyStrategyTest, mattersOnlyWhereItIsAskedFor) {
  struct Matrix {
    int a, A, firstName, first_name;
  };
  const char* const text = R"({"a":1,"A":2,"firstName":3,"first_name":4})";

  EXPECT_EQ(encoded(decoded<Matrix>(text)), text);
  EXPECT_DEATH(decoded<Matrix>(text, snakeCase), "two members of a model have the same key");
  EXPECT_DEATH(encoded(Matrix{}, snakeCase), "two members of a model have the same key");
}

}  // namespace
}  // namespace platform::json_keys
