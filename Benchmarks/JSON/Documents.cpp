#include "JSON/Documents.hpp"

#include <array>
#include <charconv>
#include <random>
#include <string_view>
#include <utility>

namespace bench {
namespace {

/// Used without the standard's distributions, which differ between libraries.
class Chance {
 public:
  std::int64_t below(std::int64_t bound) {
    return static_cast<std::int64_t>(generator_() % static_cast<std::uint64_t>(bound));
  }
  std::int32_t smallBelow(std::int32_t bound) { return static_cast<std::int32_t>(below(bound)); }
  bool oneIn(std::int64_t count) { return below(count) == 0; }

 private:
  std::mt19937_64 generator_{20261102};
};

template <class T>
std::string number(T value) {
  std::array<char, 32> digits{};
  return std::string(digits.data(), std::to_chars(digits.begin(), digits.end(), value).ptr);
}

std::string words(Chance& chance, std::int64_t count) {
  constexpr std::array<std::string_view, 12> all{"fast",     "typed",  "requests", "for",     "a",    "library",
                                                 "pipeline", "stream", "of",       "answers", "with", "behaviours"};
  std::string text;
  for (std::int64_t index = 0; index < count; ++index) {
    if (index > 0) text += ' ';
    text += all[static_cast<std::size_t>(chance.below(all.size()))];
  }
  return text;
}

Owner makeOwner(Chance& chance) {
  return {.id = chance.below(90'000'000),
          .login = "user" + number(chance.below(100'000)),
          .kind = chance.oneIn(4) ? "Organization" : "User",
          .verified = chance.oneIn(2),
          .followers = chance.smallBelow(20'000)};
}

/// Doubles have few digits: as they are set up by default, some contenders round long ones wrongly.
Record makeRecord(Chance& chance) {
  Record record{.id = chance.below(4'000'000'000),
                .name = "project-" + number(chance.below(1'000'000)),
                .description = words(chance, 4 + chance.below(10)),
                .owner = makeOwner(chance),
                .archived = chance.oneIn(8),
                .score = static_cast<double>(chance.below(10'000)) / 100,
                .stars = chance.smallBelow(60'000),
                .createdAt = "2026-11-1" + number(chance.below(10)) + "T08:30:0" + number(chance.below(10)) + "Z"};
  if (chance.oneIn(4)) record.description += "\nThe \"caf\u00e9\" of\tf\u00fcnf";
  for (auto rest = chance.below(5); rest > 0; --rest) record.tags.push_back(words(chance, 1));
  for (auto rest = chance.below(5); rest > 0; --rest) {
    record.samples.push_back(static_cast<double>(chance.below(360'000'000) - 180'000'000) / 1e6);
  }
  if (!chance.oneIn(5)) record.homepage = "https://" + record.owner.login + ".example/" + record.name;
  return record;
}

/// With escapes where JSON asks for them, and one where it does not.
std::string json(const std::string& text) {
  std::string quoted = "\"";
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (text[index] == '"') {
      quoted += "\\\"";
    } else if (text[index] == '\n') {
      quoted += "\\n";
    } else if (text[index] == '\t') {
      quoted += "\\t";
    } else if (text.compare(index, 2, "\u00e9") == 0) {
      quoted += "\\u00e9";
      ++index;
    } else {
      quoted += text[index];
    }
  }
  return quoted + '"';
}

std::string json(bool value) { return value ? "true" : "false"; }
std::string json(std::int64_t value) { return number(value); }
std::string json(std::int32_t value) { return number(value); }
std::string json(double value) { return number(value); }

template <class T>
std::string json(const std::vector<T>& values) {
  std::string text;
  for (const T& value : values) text += (text.empty() ? "" : ",") + json(value);
  return "[" + text + "]";
}

/// Keys with values that are JSON already.
using Members = std::vector<std::pair<std::string_view, std::string>>;

std::string object(Members members, KeyOrder keyOrder, Chance& chance) {
  if (keyOrder == KeyOrder::shuffled) {
    for (std::size_t rest = members.size(); rest > 1; --rest) {
      std::swap(members[rest - 1], members[static_cast<std::size_t>(chance.below(static_cast<std::int64_t>(rest)))]);
    }
  }
  std::string text;
  for (const auto& [key, value] : members) {
    text += text.empty() ? "{\"" : ",\"";
    text.append(key).append("\":").append(value);
  }
  return text + "}";
}

std::string json(const Owner& owner, KeyOrder keyOrder, Chance& chance) {
  return object({{"id", json(owner.id)},
                 {"login", json(owner.login)},
                 {"kind", json(owner.kind)},
                 {"verified", json(owner.verified)},
                 {"followers", json(owner.followers)}},
                keyOrder, chance);
}

std::string json(const Record& record, KeyOrder keyOrder, Chance& chance) {
  Members members{{"id", json(record.id)},
                  {"name", json(record.name)},
                  {"description", json(record.description)},
                  {"owner", json(record.owner, keyOrder, chance)},
                  {"archived", json(record.archived)},
                  {"score", json(record.score)},
                  {"stars", json(record.stars)},
                  {"tags", json(record.tags)},
                  {"samples", json(record.samples)},
                  {"createdAt", json(record.createdAt)}};
  if (record.homepage) {
    members.emplace_back("homepage", json(*record.homepage));
  } else if (chance.oneIn(2)) {
    members.emplace_back("homepage", "null");
  }
  return object(std::move(members), keyOrder, chance);
}

}  // namespace

Document makeDocument(std::size_t byteCount, KeyOrder keyOrder) {
  Document document{.text = "[", .records = {}, .keyOrder = keyOrder};
  // Two sources, so that both orders have the same records.
  Chance values;
  Chance order;
  while (document.text.size() < byteCount) {
    document.records.push_back(makeRecord(values));
    if (document.text.size() > 1) document.text += ',';
    document.text += json(document.records.back(), keyOrder, order);
  }
  document.text += ']';
  return document;
}

}  // namespace bench
