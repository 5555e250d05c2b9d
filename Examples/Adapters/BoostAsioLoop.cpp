// The same with Boost.Asio: only the names of the header and the namespaces differ.
//
//   example_BoostAsioLoop URL

#include <CorvaneAsio/BoostAsio.hpp>
#include <boost/asio.hpp>
#include <cstdio>

using namespace corvane;
namespace asio = boost::asio;

asio::awaitable<void> show(URL url) {
  const DataGetRequest request(url);
  try {
    const auto response = co_await async_send(request, asio::use_awaitable);
    std::printf("%zu bytes\n", response.body.count());
  } catch (const Error& error) {
    std::printf("%s\n", error.message().c_str());
  }
}

int main(int argc, char** argv) {
  asio::io_context context;
  asio::co_spawn(context, show(URL(argc > 1 ? argv[1] : "http://127.0.0.1:8080/bytes/100")), asio::detached);
  context.run();
}
