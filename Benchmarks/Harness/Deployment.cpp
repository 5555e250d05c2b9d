#include "Harness/Deployment.hpp"

#include <poll.h>
#include <stdlib.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace bench {
namespace {

constexpr double startSeconds = 10;
constexpr std::uintmax_t largeBodyBytes = 256ULL * 1024 * 1024;

std::uint16_t freePort() { return portOf(listenOnLoopback()); }

void waitUntilListening(std::uint16_t port) {
  for (int attempt = 0; attempt < 1000; ++attempt) {
    try {
      connectToLoopback(port);
      return;
    } catch (const std::system_error&) {
      poll(nullptr, 0, 10);
    }
  }
  throw std::runtime_error("The server does not listen");
}

std::optional<std::string> programNamed(const std::string& name) {
  for (const char* folder : {"/usr/sbin/", "/usr/local/sbin/", "/usr/bin/"}) {
    if (std::filesystem::exists(folder + name)) return folder + name;
  }
  return std::nullopt;
}

std::string nginxConfiguration(const std::string& folder, const RunningServer& server) {
  std::string text = R"(daemon off;
master_process off;
worker_processes 1;
pid FOLDER/nginx.pid;
error_log FOLDER/nginx-error.log;
events { worker_connections 4096; }
http {
  access_log off;
  sendfile on;
  tcp_nopush on;
  keepalive_requests 1000000000;
  default_type application/json;
  client_body_temp_path FOLDER/nginx-temporary;
  proxy_temp_path FOLDER/nginx-temporary;
  fastcgi_temp_path FOLDER/nginx-temporary;
  uwsgi_temp_path FOLDER/nginx-temporary;
  scgi_temp_path FOLDER/nginx-temporary;
  open_file_cache max=16;
  ssl_certificate FOLDER/server.pem;
  ssl_certificate_key FOLDER/server.key;
  root FOLDER/content;
  server {
    listen 127.0.0.1:PLAIN backlog=4096;
    listen 127.0.0.1:SECURE ssl backlog=4096;
    listen 127.0.0.1:HTTP2 ssl http2 backlog=4096;
    ssl_session_cache off;
    ssl_session_tickets off;
    location = /close { keepalive_timeout 0; }
  }
  server {
    listen 127.0.0.1:RESUMED ssl backlog=4096;
    ssl_session_cache none;
    location = /close { keepalive_timeout 0; }
  }
}
)";
  const auto replace = [&text](const std::string& word, const std::string& value) {
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + value.size())) {
      text.replace(at, word.size(), value);
    }
  };
  replace("FOLDER", folder);
  replace("PLAIN", std::to_string(server.port(Wire::plain)));
  replace("SECURE", std::to_string(server.port(Wire::tls)));
  replace("RESUMED", std::to_string(server.port(Wire::resumed)));
  replace("HTTP2", std::to_string(server.port(Wire::http2)));
  return text;
}

void writeContent(const std::filesystem::path& folder) {
  if (!std::filesystem::create_directories(folder)) return;
  for (const char* name : {"small", "close"}) std::ofstream(folder / name) << std::string(100, 'x');
  // A sparse file: its zeroes come from the page cache as any other content would.
  std::ofstream(folder / "large").close();
  std::filesystem::resize_file(folder / "large", largeBodyBytes);
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "corvane-bench-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::system_error(errno, std::generic_category(), pattern);
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

RunningServer startPlainServer(const std::filesystem::path& program, const std::filesystem::path& folder, int core) {
  RunningServer server;
  server.name = "own server";
  server.process = std::make_unique<ChildProcess>(std::vector<std::string>{
      program.string(), (folder / "server.pem").string(), (folder / "server.key").string(), std::to_string(core)});
  const std::string ports = server.process->readLine(startSeconds);
  if (std::sscanf(ports.c_str(), "%hu %hu %hu", &server.port(Wire::plain), &server.port(Wire::tls),
                  &server.port(Wire::resumed)) != 3) {
    throw std::runtime_error("The server says '" + ports + "' instead of its ports");
  }
  return server;
}

std::optional<RunningServer> startNginx(const std::filesystem::path& folder, int core) {
  const auto program = programNamed("nginx");
  if (!program) return std::nullopt;
  RunningServer server;
  server.name = "nginx";
  for (std::uint16_t& port : server.ports) port = freePort();
  writeContent(folder / "content");
  const std::string configuration = (folder / "nginx.conf").string();
  std::ofstream(configuration) << nginxConfiguration(folder.string(), server);
  server.process = std::make_unique<ChildProcess>(
      std::vector<std::string>{*program, "-e", (folder / "nginx-error.log").string(), "-c", configuration}, core);
  waitUntilListening(server.port(Wire::plain));
  return server;
}

std::optional<RunningServer> startNghttpd(const std::filesystem::path& folder, int core) {
  const auto program = programNamed("nghttpd");
  if (!program) return std::nullopt;
  RunningServer server;
  server.name = "nghttpd";
  server.port(Wire::http2) = freePort();
  writeContent(folder / "content");
  server.process = std::make_unique<ChildProcess>(
      std::vector<std::string>{*program, "--address=127.0.0.1", "--htdocs=" + (folder / "content").string(),
                               std::to_string(server.port(Wire::http2)), (folder / "server.key").string(),
                               (folder / "server.pem").string()},
      core);
  waitUntilListening(server.port(Wire::http2));
  return server;
}

}  // namespace bench
