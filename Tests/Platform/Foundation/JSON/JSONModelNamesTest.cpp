#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Platform/Foundation/JSON/Detail/JSONMembers.hpp"
#include "Platform/Foundation/JSON/JSONTesting.hpp"

/// Members are named by the compiler, in texts that say also where a type stands.

struct GlobalModel {
  int value;
};

namespace outer::inner_2 {
struct Model {
  int value;
  struct Nested {
    int value;
  };
};
template <class T, int number = -1>
struct Template {
  T value;
  std::vector<T> values;
};
}  // namespace outer::inner_2

namespace platform {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;

struct Anonymous {
  int value;
};

namespace deeper {
struct Anonymous {
  int value;
};
}  // namespace deeper

struct Odd {
  int _leading;
  int trailing_;
  int __both__;
  int with1Digit2;
  int x;
  int _0;
  int value;
  int operatorName;
  int ALL_CAPITALS;
};

enum class Color : int { red, green };

template <Color color>
struct OfColor {
  int value;
};

template <class T>
void expectOneValue() {
  EXPECT_EQ(encoded(T{7}), R"({"value":7})");
  EXPECT_EQ(decoded<T>(R"({"value":7})").value, 7);
}

TEST(JSONModelNamesTest, areReadOfTypesInAnyNamespace) {
  expectOneValue<GlobalModel>();
  expectOneValue<outer::inner_2::Model>();
  expectOneValue<outer::inner_2::Model::Nested>();
  expectOneValue<Anonymous>();
  expectOneValue<deeper::Anonymous>();
}

TEST(JSONModelNamesTest, areReadOfLocalClasses) {
  struct Local {
    int value;
  };
  const auto inLambda = [] {
    struct Hidden {
      int value;
    };
    expectOneValue<Hidden>();
  };

  expectOneValue<Local>();
  inLambda();
}

TEST(JSONModelNamesTest, areReadOfTemplates) {
  using Texts = outer::inner_2::Template<std::string>;
  using Nested = outer::inner_2::Template<outer::inner_2::Template<Anonymous, 3>, 'x'>;

  EXPECT_EQ(encoded(Texts{"a", {"b"}}), R"({"value":"a","values":["b"]})");
  EXPECT_EQ(encoded(Nested{{{1}, {}}, {}}), R"({"value":{"value":{"value":1},"values":[]},"values":[]})");
  EXPECT_EQ(decoded<Nested>(R"({"value":{"value":{"value":1},"values":[]},"values":[]})").value.value.value, 1);
  expectOneValue<OfColor<Color::green>>();
}

TEST(JSONModelNamesTest, mayHaveDigitsAndUnderscores) {
  const std::string json =
      R"({"_leading":1,"trailing_":2,"__both__":3,"with1Digit2":4,"x":5,"_0":6,"value":7,"operatorName":8,"ALL_CAPITALS":9})";

  EXPECT_EQ(encoded(Odd{1, 2, 3, 4, 5, 6, 7, 8, 9}), json);
  EXPECT_EQ(decoded<Odd>(json).trailing_, 2);
  EXPECT_EQ(decoded<Odd>(json).ALL_CAPITALS, 9);
}

TEST(JSONModelNamesTest, areThereWhenTheProgramIsCompiled) {
  static_assert(detail::memberCount<Odd> == 9);
  static_assert(detail::memberNames<Odd>[2] == "__both__");
  static_assert(detail::memberNames<outer::inner_2::Template<int>>[1] == "values");
  static_assert(detail::memberCount<Anonymous> == 1 && detail::memberNames<Anonymous>[0] == "value");
}

}  // namespace
}  // namespace platform
