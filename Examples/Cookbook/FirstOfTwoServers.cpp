#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

Task<std::size_t> fastest(std::vector<URL> servers) {
  std::vector<Future<HTTPResponse<Data>>> responses;
  for (const URL& server : servers) responses.push_back(DataGetRequest(server).send());
  co_return (co_await whenAnySucceeds(responses)).index;  // the others are cancelled
}

int main(int, char** argv) {
  const std::string server = argv[1];
  std::printf("number %zu was first\n", fastest({server + "delay/10", server + "get"}).get());
}
