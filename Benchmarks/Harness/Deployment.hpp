#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "Clients/Client.hpp"
#include "Harness/Process.hpp"

namespace bench {

/// A folder of its own below the system's temporary one, removed with its content.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// A running server and its ports on 127.0.0.1, one for each wire; 0 where it does not serve that.
struct RunningServer {
  std::string name;
  std::array<std::uint16_t, wireCount> ports{};
  std::unique_ptr<ChildProcess> process;

  std::uint16_t& port(Wire wire) { return ports[static_cast<std::size_t>(wire)]; }
  std::uint16_t port(Wire wire) const { return ports[static_cast<std::size_t>(wire)]; }
};

/// Writes `anchor.der`, `anchors.pem` (the system's bundle and ours), `server.pem` and `server.key`: an anchor
/// and a P-256 certificate for 127.0.0.1 signed by it.
void makeCertificates(const std::filesystem::path& folder);

/// Everything but HTTP/2.
RunningServer startPlainServer(const std::filesystem::path& program, const std::filesystem::path& folder, int core);
/// Absent when nginx is not installed. One worker; the same paths as the plain server, but `/delay100`.
std::optional<RunningServer> startNginx(const std::filesystem::path& folder, int core);
/// Absent when nghttpd is not installed. HTTP/2 only, `/small`; quicker at that than nginx.
std::optional<RunningServer> startNghttpd(const std::filesystem::path& folder, int core);

}  // namespace bench
