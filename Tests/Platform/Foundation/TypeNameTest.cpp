#include "Platform/Foundation/TypeName.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace sample {
struct User {};
template <class T>
struct Box {
  struct Lid {};
};
}  // namespace sample

namespace {

using platform::typeName;

TEST(TypeNameTest, namesATypeAsAProgrammerWritesIt) {
  EXPECT_EQ(typeName<int>(), "int");
  EXPECT_EQ(typeName<sample::User>(), "sample::User");
  EXPECT_EQ(typeName<sample::Box<int>::Lid>(), "sample::Box<int>::Lid");
}

TEST(TypeNameTest, spellsOutNoneOfTheStandardLibrarysInsides) {
  EXPECT_EQ(typeName<std::string>(), "std::string");
  EXPECT_EQ(typeName<std::string_view>(), "std::string_view");
  EXPECT_EQ(typeName<sample::Box<std::string>>(), "sample::Box<std::string>");
}

TEST(TypeNameTest, comparesTypesAsValues) {
  const platform::TypeValue user{&typeid(sample::User)};

  EXPECT_EQ(user, platform::TypeValue{&typeid(sample::User)});
  EXPECT_FALSE(user == platform::TypeValue{});
  EXPECT_EQ(user.name(), "sample::User");
  EXPECT_EQ(platform::TypeValue{}.name(), "void");
}

}  // namespace
