#include <Corvane/Corvane.hpp>
#include <Platform/Foundation/Dictionary.hpp>
#include <Platform/Foundation/UUID.hpp>
#include <cstdio>

using namespace corvane;
using platform::Dictionary;

int main() {
  const UUID fresh;  // a random one
  const auto known = UUID::parse("6FDFCA76-A203-4DB7-BE26-7FF92B8622F7");
  std::printf("%s\n", fresh == *known ? "the same" : known->uuidString().c_str());

  Dictionary information{{"attempt", 2}, {"url", "http://example.com"}};
  information.set("waited", 1.5);
  for (const auto& [key, value] : information) std::printf("%s: %s\n", key.c_str(), value.description().c_str());

  const AnyValue list = AnyValue::List{1, "two", true};
  std::printf("%s\n", list.description().c_str());
}
