#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"
#include "Platform/Foundation/JSON/JSONValue.hpp"

namespace platform {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;

struct Leaf {
  bool flag;
  std::int64_t number;
  std::optional<std::string> text;

  friend bool operator==(const Leaf&, const Leaf&) = default;
};

struct Record {
  std::uint64_t id;
  std::string title;
  double score;
  float weight;
  std::optional<Leaf> leaf;
  std::vector<Leaf> leaves;
  std::map<std::string, std::deque<std::int16_t>> series;
  std::variant<std::monostate, bool, std::string, Leaf> either;
  std::vector<Record> children;

  friend bool operator==(const Record&, const Record&) = default;
};

class Maker {
 public:
  Record record(int levels) {
    Record record{random_(), text(), real<double>(), real<float>(), {}, {}, {}, {}, {}};
    if (one()) record.leaf = leaf();
    for (std::size_t count = few(); count > 0; --count) record.leaves.push_back(leaf());
    for (std::size_t count = few(); count > 0; --count) {
      record.series[text()].push_back(static_cast<std::int16_t>(random_()));
    }
    switch (random_() % 4) {
      case 0:
        record.either = one();
        break;
      case 1:
        record.either = text();
        break;
      case 2:
        record.either = leaf();
        break;
      default:
        break;
    }
    if (levels > 0) {
      for (std::size_t count = few(); count > 0; --count) record.children.push_back(this->record(levels - 1));
    }
    return record;
  }

 private:
  bool one() { return random_() % 2 == 0; }
  std::size_t few() { return below(6); }
  std::size_t below(std::size_t bound) { return static_cast<std::size_t>(random_() % bound); }
  Leaf leaf() { return {one(), static_cast<std::int64_t>(random_()), one() ? std::optional(text()) : std::nullopt}; }
  template <class Real>
  Real real() {
    for (;;) {
      const auto bits = static_cast<std::conditional_t<sizeof(Real) == 4, std::uint32_t, std::uint64_t>>(random_());
      if (const auto value = std::bit_cast<Real>(bits); std::isfinite(value)) return value;
    }
  }
  std::string text() {
    static constexpr const char* parts[] = {"a",    "word ", "\"",     "\\",     "\n",
                                            "\x01", "/",     "\u00e4", "\u4e2d", "\U0001F600"};
    std::string text;
    for (std::size_t count = below(20); count > 0; --count) text.append(parts[below(std::size(parts))]);
    return text;
  }

  std::mt19937_64 random_{20261121};
};

TEST(JSONRandomDocumentTest, isReadBackAsItWas) {
  Maker maker;
  std::vector<Record> records;
  for (int count = 0; count < 60; ++count) records.push_back(maker.record(4));

  const std::string text = encoded(records);

  EXPECT_GT(text.size(), 1'000'000U);
  EXPECT_EQ(decoded<std::vector<Record>>(text), records);
  EXPECT_EQ(encoded(decoded<std::vector<Record>>(text)), text);
}

TEST(JSONRandomDocumentTest, isReadBackThroughAFreeValueAndLaidOut) {
  Maker maker;
  const std::vector<Record> records{maker.record(4), maker.record(4)};
  const std::string text = encoded(records);

  const auto free = decoded<JSONValue>(text);
  const Data pretty = JSONEncoder({}, JSONFormatting::pretty).encode(free);

  EXPECT_EQ(decoded<std::vector<Record>>(encoded(free)), records);
  EXPECT_EQ(decoded<std::vector<Record>>(pretty.view()), records);
  EXPECT_EQ(JSONDecoder().decode<JSONValue>(pretty), decoded<JSONValue>(encoded(free)));
}

}  // namespace
}  // namespace platform
