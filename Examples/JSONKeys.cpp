// Keys that are not called as the members are, enumerations by name, and dates.

#include <Corvane/Corvane.hpp>
#include <chrono>
#include <cstdio>

using namespace corvane;

enum class State { open, paid };

template <>
struct corvane::JSONCodec<State> {
  static constexpr JSONName<State> names[] = {{State::open, "OPEN"}, {State::paid, "PAID"}};
};

struct Invoice {
  std::string number;
  State state;
  std::chrono::sys_seconds dueOn;
  std::optional<std::string> paymentReference;

  static constexpr JSONStrategies strategies{.dates = JSONDateStrategy::iso8601, .keys = JSONKeyStrategy::snakeCase};
  static JSONDecoder decoder() { return JSONDecoder(strategies); }
  static JSONEncoder encoder() { return JSONEncoder(strategies); }
};

template <>
struct corvane::JSONCodec<Invoice> {
  static constexpr JSONKey keys[] = {{"number", "invoiceNo"}};
};

int main() try {
  const Data document(R"({"invoiceNo": "A-17", "state": "OPEN", "due_on": "2026-11-21T08:30:00+01:00"})");
  auto invoice = velisand::fromJSON<Invoice>(document);

  invoice.state = State::paid;
  invoice.paymentReference = "7/12";
  std::printf("%s\n", velisand::asJSON(invoice).text().c_str());
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
