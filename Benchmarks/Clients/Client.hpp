#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace bench {

/// What exchanges go over.
enum class Wire : std::uint8_t {
  plain,    ///< HTTP/1.1
  tls,      ///< the same over TLS; each connection makes a full handshake
  resumed,  ///< the same; a new connection resumes the TLS session of an earlier one
  http2     ///< HTTP/2 over TLS
};
inline constexpr std::size_t wireCount = 4;

/// What a client is asked to load, over and over.
struct Task {
  Wire wire = Wire::plain;
  std::uint16_t port = 0;
  std::string path;
  /// Exchanges under way at a time.
  int concurrency = 1;
  /// The body that each response must have.
  std::uint64_t bodyBytes = 100;
  /// The folder of `makeCertificates`.
  std::string certificateFolder;

  bool isSecure() const { return wire != Wire::plain; }
  std::string url() const {
    return (isSecure() ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(port) + path;
  }
};

/// A way to make HTTP requests. It keeps its connections from one run to the next.
class Client {
 public:
  virtual ~Client() = default;
  /// Makes `count` exchanges. Throws when a response is not 200 with the whole body.
  virtual void run(int count) = 0;
};

struct ClientKind {
  const char* name;
  std::unique_ptr<Client> (*make)(const Task& task);
};

/// All clients, by unique names.
const std::vector<ClientKind>& clientKinds();

/// The header fields that each client sends besides Host, so that all requests have the same size.
struct RequestField {
  const char* name;
  const char* value;
};
inline constexpr RequestField requestFields[] = {
    {"Accept", "*/*"},
    {"User-Agent", "Corvane"},
    {"Accept-Language", "en-US;q=1.0"},
    {"Accept-Encoding", "gzip;q=1.0, compress;q=0.5"},
};

std::unique_ptr<Client> makeSocketClient(const Task& task);
std::unique_ptr<Client> makeOpenSSLClient(const Task& task);
std::unique_ptr<Client> makeBeastClient(const Task& task);
std::unique_ptr<Client> makeEasyClient(const Task& task);
std::unique_ptr<Client> makeMultiClient(const Task& task);
std::unique_ptr<Client> makeCallbackClient(const Task& task);
std::unique_ptr<Client> makeBlockingClient(const Task& task);
/// Asks for a response that stays fresh: all but the first come from the cache.
std::unique_ptr<Client> makeCachedClient(const Task& task);

}  // namespace bench
