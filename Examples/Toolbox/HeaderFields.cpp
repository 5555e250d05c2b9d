#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

int main() {
  HTTPHeaderFields fields{{"Content-Type", "text/plain"}, {"Link", "</1>; rel=prev"}};
  fields.add("Link", "</3>; rel=next");  // a further field of that name
  fields.set("content-type", "text/html");

  std::printf("%s\n", fields.value("CONTENT-TYPE")->c_str());
  for (const std::string& link : fields.values("link")) std::printf("%s\n", link.c_str());
  for (const auto& [name, value] : fields) std::printf("%s: %s\n", name.c_str(), value.c_str());
  std::printf("%s\n", HTTPHeaderFields::problem("X-Name", "two\nlines").c_str());
}
