#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

std::string outcome(const URL& url) {
  const auto result = DataGetRequest(url).send().result();
  if (result) return "received";
  const Error& error = *result.error();
  if (const HTTPErrorResponse* response = error.response()) {
    return response->statusCode() == 404 ? "not there" : "refused with " + std::to_string(response->statusCode());
  }
  if (error.is<CFNetworkErrors>()) return "no response";
  return error.message();
}

int main(int, char** argv) {
  const std::string server = argv[1];
  std::printf("%s\n", outcome(server + "get").c_str());
  std::printf("%s\n", outcome(server + "status/404").c_str());
  std::printf("%s\n", outcome(server + "status/503").c_str());
  std::printf("%s\n", outcome(server + "drop").c_str());
}
