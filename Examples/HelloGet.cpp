#include <Corvane/Corvane.hpp>
#include <cstdio>

int main(int argc, char** argv) try {
  const char* url = argc > 1 ? argv[1] : "http://127.0.0.1:8080/";
  const auto response = corvane::DataGetRequest(url).send().get();
  std::puts(response.body.text().c_str());
} catch (const corvane::Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
