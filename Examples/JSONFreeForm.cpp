// Documents without a model: what is in them is looked up by key and index; others are put together.

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

int main() try {
  const Data data(R"({"users": [{"name": "Ada", "age": 36}, {"name": "Charles"}], "next": null})");
  const auto document = JSONDecoder().decode<JSONValue>(data);

  if (const auto* name = document["users"][0]["name"].string()) std::printf("%s\n", name->c_str());
  const auto age = document["users"][1]["age"].integer();
  std::printf("%s\n", age ? std::to_string(*age).c_str() : "no age");

  JSONObject order{{"id", 7}, {"tags", JSONValue::Array{"new", "paid"}}};
  order["total"] = 12.5;
  order.remove("id");
  const JSONEncoder encoder({}, JSONFormatting::pretty);
  std::printf("%s\n", encoder.encode(order).text().c_str());
} catch (const DecodingError& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
