#include "CorvaneTesting/Internal/SocketBio.hpp"

#include <openssl/bio.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>

namespace corvane::testkit::detail {

namespace {

int socketOf(BIO* bio) { return static_cast<int>(reinterpret_cast<std::intptr_t>(BIO_get_data(bio))); }

int writeSocket(BIO* bio, const char* bytes, int size) {
  BIO_clear_retry_flags(bio);
  const ssize_t count = ::send(socketOf(bio), bytes, static_cast<std::size_t>(size), MSG_NOSIGNAL);
  if (count < 0 && (errno == EAGAIN || errno == EINTR)) BIO_set_retry_write(bio);
  return static_cast<int>(count);
}

int readSocket(BIO* bio, char* buffer, int size) {
  BIO_clear_retry_flags(bio);
  const ssize_t count = ::recv(socketOf(bio), buffer, static_cast<std::size_t>(size), 0);
  if (count < 0 && (errno == EAGAIN || errno == EINTR)) BIO_set_retry_read(bio);
  return static_cast<int>(count);
}

long controlSocket(BIO*, int command, long, void*) { return command == BIO_CTRL_FLUSH ? 1 : 0; }

BIO_METHOD* makeSocketMethod() {
  BIO_METHOD* method = BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "socket without signals");
  BIO_meth_set_write(method, writeSocket);
  BIO_meth_set_read(method, readSocket);
  BIO_meth_set_ctrl(method, controlSocket);
  return method;
}

}  // namespace

BIO* makeSocketBio(int socket) {
  static BIO_METHOD* const method = makeSocketMethod();
  BIO* bio = BIO_new(method);
  // A BIO has room for a pointer only.
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  BIO_set_data(bio, reinterpret_cast<void*>(static_cast<std::intptr_t>(socket)));
  BIO_set_init(bio, 1);
  return bio;
}

}  // namespace corvane::testkit::detail
