// Sends with a deadline, and cancels a group of calls at once.
//
//   example_CallOptions URL

#include <Corvane/Corvane.hpp>
#include <chrono>
#include <cstdio>

using namespace corvane;
using namespace std::chrono_literals;

struct GetPage : DataGetRequestable<GetPage> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// A request for a user of the service, which asks for a token first.
struct GetAccount : DataGetRequestable<GetAccount> {
  URL url;
  HTTPHeaders headers = {};
  HTTPHeaders sharedHeaders() const { return {}; }

  using HTTPRequestable::send;
  void send(std::optional<DispatchQueue> queue, Completion completion) const {
    const auto options = completion.options(queue);
    GetPage{.url = url}.send(options, [request = *this, queue = std::move(queue),
                                       completion = std::move(completion)](const DataResponse& token) mutable {
      if (token.data) request.headers.set("Authorization", "Bearer " + token.data->text());
      request.sendToNetwork(std::move(queue), std::move(completion));
    });
  }
};

int main(int argc, char** argv) {
  const GetPage page{.url = argc > 1 ? argv[1] : "http://127.0.0.1:8080/delay/10"};

  const auto late = page.send({.deadline = 250ms, .connectTimeout = 1s}).result();
  std::printf("%s\n", late ? "in time" : late.error()->message().c_str());

  std::stop_source screen;
  const auto header = page.send({.stop = screen.get_token()});
  const auto list = page.send({.stop = screen.get_token()});
  screen.request_stop();  // it closes
  std::printf("%s\n", header.result() || list.result() ? "there" : header.result().error()->message().c_str());

  const auto account = GetAccount{.url = page.url}.send({.deadline = 250ms}).result();
  std::printf("%s\n", account ? "in time" : account.error()->message().c_str());
}
