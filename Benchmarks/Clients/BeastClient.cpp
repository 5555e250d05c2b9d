#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>
#include <stdexcept>

#include "Clients/Client.hpp"

namespace bench {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::beast::error_code;

http::request<http::empty_body> requestFor(const Task& task) {
  http::request<http::empty_body> request(http::verb::get, task.path, 11);
  request.set(http::field::host, "127.0.0.1:" + std::to_string(task.port));
  for (const RequestField& field : requestFields) request.set(field.name, field.value);
  return request;
}

/// Boost.Beast on one `io_context`: blocking calls where exchanges come one after the other, completion handlers
/// otherwise. It knows the host's address and follows nothing: redirects, cookies and time-outs would be its user's.
class BeastClient final : public Client {
 public:
  explicit BeastClient(const Task& task) : task_(task), request_(requestFor(task)) {
    const asio::ip::tcp::endpoint server(asio::ip::address_v4::loopback(), task.port);
    for (int index = 0; index < task.concurrency; ++index) {
      Connection& connection = *connections_.emplace_back(std::make_unique<Connection>(context_));
      connection.socket.connect(server);
      connection.socket.set_option(asio::ip::tcp::no_delay(true));
    }
  }

  void run(int count) override {
    if (task_.concurrency == 1) return runSequential(count);
    toStart_ = count;
    for (const auto& connection : connections_) {
      if (toStart_ > 0) start(*connection);
    }
    context_.restart();
    context_.run();
  }

 private:
  struct Connection {
    explicit Connection(asio::io_context& context) : socket(context) {}
    asio::ip::tcp::socket socket;
    boost::beast::flat_buffer buffer;
    http::response<http::string_body> response;
  };

  void runSequential(int count) {
    Connection& connection = *connections_.front();
    for (int done = 0; done < count; ++done) {
      http::write(connection.socket, request_);
      http::read(connection.socket, connection.buffer, connection.response);
      takeResponse(connection);
    }
  }

  void start(Connection& connection) {
    --toStart_;
    http::async_write(connection.socket, request_, [this, &connection](error_code error, std::size_t) {
      if (error) throw boost::system::system_error(error);
      receive(connection);
    });
  }

  void receive(Connection& connection) {
    http::async_read(connection.socket, connection.buffer, connection.response,
                     [this, &connection](error_code error, std::size_t) {
                       if (error) throw boost::system::system_error(error);
                       takeResponse(connection);
                       if (toStart_ > 0) start(connection);
                     });
  }

  void takeResponse(Connection& connection) {
    if (connection.response.result_int() != 200 || connection.response.body().size() != task_.bodyBytes) {
      throw std::runtime_error("The response is not the expected one");
    }
    connection.response = {};
  }

  const Task task_;
  const http::request<http::empty_body> request_;
  asio::io_context context_{1};
  std::vector<std::unique_ptr<Connection>> connections_;
  int toStart_ = 0;
};

}  // namespace

std::unique_ptr<Client> makeBeastClient(const Task& task) { return std::make_unique<BeastClient>(task); }

}  // namespace bench
