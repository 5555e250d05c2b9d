#include "Velisand/DataRepresentable.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velisand {
namespace {

using platform::Data;

struct Greeting {
  std::string name;
  Data asData() const { return Data("hello " + name); }
};

struct Named {
  Data name;
};

struct Parsed {
  explicit Parsed(Data data) : length(data.count()) {}
  std::size_t length;
};

static_assert(DataRepresentable<Data> && DataRepresentable<std::string> && DataRepresentable<std::vector<std::byte>>);
static_assert(DataRepresentable<Greeting> && DataRepresentable<Named> && !DataRepresentable<int*>);
static_assert(!DataRepresentable<Parsed>);
static_assert(DataInitializable<Data> && DataInitializable<std::string> && DataInitializable<std::vector<std::byte>>);
static_assert(DataInitializable<Parsed> && DataInitializable<Named> && !DataInitializable<int*>);
static_assert(RepresentedByJSON<Named> && !RepresentedByJSON<Greeting> && !RepresentedByJSON<std::string>);

TEST(DataRepresentableTest, takesBytesAsTheyAre) {
  const std::vector<std::byte> bytes{std::byte{0}, std::byte{0xFF}};

  EXPECT_EQ(asData(Data("a")), Data("a"));
  EXPECT_EQ(asData(std::string("b\0c", 3)).count(), 3u);
  EXPECT_EQ(asData(bytes), Data(bytes.data(), bytes.size()));
}

TEST(DataRepresentableTest, sharesTheBytesOfData) {
  const Data data("shared");

  EXPECT_EQ(asData(data).bytes(), data.bytes());
}

TEST(DataRepresentableTest, asksATypeForItsBytes) { EXPECT_EQ(asData(Greeting{"Ada"}), Data("hello Ada")); }

TEST(DataRepresentableTest, writesAnyOtherValueAsJSON) { EXPECT_EQ(asData(Named{"Ada"}), Data(R"({"name":"QWRh"})")); }

TEST(DataInitializableTest, readsAnyOtherValueFromJSON) {
  EXPECT_EQ(fromData<Named>(R"({"name":"QWRh"})").name, Data("Ada"));
}

TEST(DataInitializableTest, makesValuesOfBytes) {
  const Data data("abc");

  EXPECT_EQ(fromData<Data>(data).bytes(), data.bytes());
  EXPECT_EQ(fromData<std::string>(data), "abc");
  EXPECT_EQ(fromData<std::vector<std::byte>>(data).size(), 3u);
  EXPECT_EQ(fromData<Parsed>(data).length, 3u);
}

}  // namespace
}  // namespace velisand
