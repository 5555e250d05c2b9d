// A value that stands in a document in a form of its own, and one that is read from several versions of a document,
// with an error of its own.

#include <Corvane/Corvane.hpp>
#include <cstdio>
#include <stdexcept>

using namespace corvane;

/// Written as "12.50 EUR".
struct Money {
  long long cents;

  std::string text() const {
    char text[40];
    std::snprintf(text, sizeof text, "%lld.%02lld EUR", cents / 100, cents % 100);
    return text;
  }
  static std::optional<Money> parse(const std::string& text) {
    long long euros = 0;
    long long cents = 0;
    if (std::sscanf(text.c_str(), "%9lld.%2lld", &euros, &cents) != 2) return std::nullopt;
    const Money money{euros * 100 + cents};
    return money.text() == text ? std::optional(money) : std::nullopt;
  }
};

template <>
struct corvane::JSONCodec<Money> {
  static Money decode(JSONReader& reader) {
    const auto text = reader.decode<std::string>();
    if (const auto money = Money::parse(text)) return *money;
    reader.fail("\"" + text + "\" is no amount like 12.50 EUR");
  }
  static void encode(const Money& money, JSONWriter& writer) { writer.encode(money.text()); }
};

struct Settings {
  std::string theme;
};

struct UnsupportedVersion : std::runtime_error {
  explicit UnsupportedVersion(int version) : runtime_error("settings have no version " + std::to_string(version)) {}
};

template <>
struct corvane::JSONCodec<Settings> {
  struct Stored {
    int version;
    std::optional<bool> isDark;        // version 1
    std::optional<std::string> theme;  // version 2
  };

  static Settings decode(JSONReader& reader) {
    const auto stored = reader.decode<Stored>();
    if (stored.version == 1) return {.theme = stored.isDark.value_or(false) ? "dark" : "light"};
    if (stored.version == 2) return {.theme = stored.theme.value_or("light")};
    throw UnsupportedVersion(stored.version);
  }
  static void encode(const Settings& settings, JSONWriter& writer) {
    writer.encode(Stored{.version = 2, .isDark = {}, .theme = settings.theme});
  }
};

struct Account {
  std::vector<Money> payments;
  Settings settings;
};

void readAndWrite(const char* document) try {
  const auto account = JSONDecoder().decode<Account>(Data(document));
  std::printf("%s\n", JSONEncoder().encode(account).text().c_str());
} catch (const std::exception& error) {
  std::printf("%s\n", error.what());
}

int main() {
  readAndWrite(R"({"payments": ["12.50 EUR", "3.05 EUR"], "settings": {"version": 1, "isDark": true}})");
  readAndWrite(R"({"payments": ["12.50 EUR", "3 EUR"], "settings": {"version": 2, "theme": "blue"}})");
  readAndWrite(R"({"payments": [], "settings": {"version": 3}})");
}
