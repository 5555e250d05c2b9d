#include <Corvane/Corvane.hpp>
#include <chrono>
#include <cstdio>

using namespace corvane;
using namespace std::chrono_literals;

// The report is being made until the server has it.
Task<std::string> report(URL url) {
  for (int attempt = 1; attempt <= 20; ++attempt) {
    const auto response = co_await DataGetRequest(url).send(wholeResponse);
    if (response.result) co_return response.data->text();
    if (response.status != HTTPStatus::serviceUnavailable) throw *response.result.error();
    co_await sleepFor(50ms);
  }
  co_return "not in time";
}

int main(int, char** argv) { std::printf("%s\n", report(argv[1] + std::string("flaky/3")).get().c_str()); }
