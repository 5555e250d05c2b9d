#include "CorvaneTesting/Ports.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include "CorvaneTesting/Internal/Descriptor.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace corvane::testkit {
namespace {

/// The error of a non-blocking connection attempt at once: EINPROGRESS while it is unanswered.
int connectionError(std::uint16_t port) {
  const detail::Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(socket.value(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) return 0;
  if (errno != EINPROGRESS) return errno;
  pollfd watched{socket.value(), POLLOUT, 0};
  if (::poll(&watched, 1, 50) == 0) return EINPROGRESS;
  int error = 0;
  socklen_t length = sizeof error;
  ::getsockopt(socket.value(), SOL_SOCKET, SO_ERROR, &error, &length);
  return error;
}

TEST(PortsTest, unusedPortRefuses) {
  EXPECT_EQ(connectionError(unusedPort()), ECONNREFUSED);
  EXPECT_EQ(unusedPort(), unusedPort());
  EXPECT_EQ(refusedUrl("/x"), "http://127.0.0.1:" + std::to_string(unusedPort()) + "/x");
}

TEST(PortsTest, silentPortNeverAnswers) {
  const SilentPort silent;

  EXPECT_EQ(connectionError(silent.port()), EINPROGRESS);
}

TEST(TemporaryDirectoryTest, disappearsWithItsOwner) {
  std::filesystem::path path;
  {
    const TemporaryDirectory directory;
    path = directory.path();
    EXPECT_EQ(directory.write("a.pem", "text"), path / "a.pem");
    EXPECT_EQ(directory.read("a.pem"), "text");
    EXPECT_THROW(directory.read("b.pem"), std::runtime_error);
  }

  EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
}  // namespace corvane::testkit
