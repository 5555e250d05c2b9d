// Models without boilerplate: nested, repeated, optional and alternative members; a typed POST.
//
//   example_JSONModel http://127.0.0.1:8080/orders

#include <Corvane/Corvane.hpp>
#include <cstdio>
#include <map>

using namespace corvane;

struct Item {
  std::string article;
  int count;
  std::optional<double> price;
};

struct Card {
  std::string cardNumber;
};

struct Transfer {
  std::string iban;
};

struct NewOrder {
  std::vector<Item> items;
  std::map<std::string, std::string> labels;
  std::variant<Card, Transfer> payment;
};

struct Order {
  std::int64_t id;
  std::vector<Item> items;
  std::optional<URL> invoice;
};

struct PlaceOrder : JSONPostRequestable<PlaceOrder, Order, NewOrder> {
  NewOrder body;
  URL url;
  HTTPHeaders sharedHeaders() const { return {{"X-App", "Example"}}; }
};

void print(const Order& order) {
  std::printf("order %lld\n", static_cast<long long>(order.id));
  for (const Item& item : order.items) std::printf("  %d x %s\n", item.count, item.article.c_str());
  if (order.invoice) std::printf("  invoice at %s\n", order.invoice->absoluteString().c_str());
}

int main(int argc, char** argv) try {
  const NewOrder order{
      .items = {{.article = "pencil", .count = 3, .price = {}}, {.article = "paper", .count = 1, .price = 4.5}},
      .labels = {{"for", "Ada"}},
      .payment = Transfer{.iban = "DE75512108001245126199"}};
  std::printf("%s\n", velisand::asJSON(order).text().c_str());

  const Data document(R"({"id": 7, "items": [{"article": "pencil", "count": 3}], "invoice": "/invoices/7"})");
  print(JSONDecoder().decode<Order>(document));

  if (argc > 1) print(PlaceOrder{.body = order, .url = argv[1]}.send().get().body);
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
