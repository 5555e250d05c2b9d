#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

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

/// A running server and its ports on 127.0.0.1.
struct RunningServer {
  std::string name;
  std::uint16_t plainPort = 0;
  std::uint16_t securePort = 0;
  std::unique_ptr<ChildProcess> process;
};

/// Writes `anchor.der`, `anchors.pem` (the system's bundle and ours), `server.pem` and `server.key`: an anchor
/// and a P-256 certificate for 127.0.0.1 signed by it.
void makeCertificates(const std::filesystem::path& folder);

RunningServer startPlainServer(const std::filesystem::path& program, const std::filesystem::path& folder, int core);
/// Absent when nginx is not installed. One worker; the same paths as the plain server, but `/delay100`.
std::optional<RunningServer> startNginx(const std::filesystem::path& folder, int core);

}  // namespace bench
