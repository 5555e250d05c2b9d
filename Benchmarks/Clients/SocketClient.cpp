#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <stdexcept>

#include "Clients/Client.hpp"
#include "Clients/ResponseReader.hpp"
#include "Harness/Descriptor.hpp"

namespace bench {
namespace {

/// The floor: a loop over epoll and sockets that knows exactly one kind of response. A large body is received
/// in place, into memory that is taken anew for each response, as for all clients.
class SocketClient final : public Client {
 public:
  explicit SocketClient(const Task& task) : task_(task), request_(requestText(task)), buffer_(16 * 1024) {
    for (int index = 0; index < task.concurrency; ++index) open();
  }

  void run(int count) override {
    if (task_.bodyBytes > buffer_.size()) return runLarge(count);
    if (task_.concurrency == 1) return runSequential(count);
    runConcurrent(count);
  }

 private:
  struct Connection {
    Descriptor socket;
    ResponseReader reader;
  };

  void open() {
    connections_.push_back({connectToLoopback(task_.port), {}});
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = connections_.size() - 1;
    checked(epoll_ctl(epoll_.number(), EPOLL_CTL_ADD, connections_.back().socket.number(), &event), "epoll_ctl");
  }

  void ask(Connection& connection) {
    const ssize_t sent = send(connection.socket.number(), request_.data(), request_.size(), MSG_NOSIGNAL);
    if (checked(sent, "send") != static_cast<ssize_t>(request_.size())) throw std::runtime_error("A short send");
  }

  bool receive(Connection& connection) {
    const ssize_t count = checked(recv(connection.socket.number(), buffer_.data(), buffer_.size(), 0), "recv");
    if (count == 0) throw std::runtime_error("The server closed the connection");
    return connection.reader.take(buffer_.data(), static_cast<std::size_t>(count), task_.bodyBytes);
  }

  void runSequential(int count) {
    Connection& connection = connections_.front();
    for (int done = 0; done < count; ++done) {
      ask(connection);
      while (!receive(connection)) continue;
    }
  }

  void runConcurrent(int count) {
    int asked = std::min(count, task_.concurrency);
    for (int index = 0; index < asked; ++index) ask(connections_[static_cast<std::size_t>(index)]);
    std::array<epoll_event, 128> events;
    for (int done = 0; done < count;) {
      const int ready =
          checked(epoll_wait(epoll_.number(), events.data(), static_cast<int>(events.size()), -1), "epoll_wait");
      for (int index = 0; index < ready; ++index) {
        Connection& connection = connections_[events[static_cast<std::size_t>(index)].data.u64];
        if (!receive(connection)) continue;
        ++done;
        if (asked < count) {
          ask(connection);
          ++asked;
        }
      }
    }
  }

  void runLarge(int count) {
    Connection& connection = connections_.front();
    for (int done = 0; done < count; ++done) {
      ask(connection);
      const std::unique_ptr<char[]> response(new char[task_.bodyBytes + 4096]);
      std::uint64_t held = 0;
      for (bool complete = false; !complete;) {
        const ssize_t received = recv(connection.socket.number(), response.get() + held, 512 * 1024, 0);
        if (checked(received, "recv") == 0) throw std::runtime_error("The server closed the connection");
        complete = connection.reader.take(response.get() + held, static_cast<std::size_t>(received), task_.bodyBytes);
        held += static_cast<std::uint64_t>(received);
      }
    }
  }

  const Task task_;
  const std::string request_;
  std::vector<char> buffer_;
  Descriptor epoll_{checked(epoll_create1(EPOLL_CLOEXEC), "epoll_create1")};
  std::vector<Connection> connections_;
};

}  // namespace

std::unique_ptr<Client> makeSocketClient(const Task& task) { return std::make_unique<SocketClient>(task); }

}  // namespace bench
