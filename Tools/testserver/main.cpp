#include <poll.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "CorvaneTesting/CertificateAuthority.hpp"
#include "CorvaneTesting/Internal/Descriptor.hpp"
#include "CorvaneTesting/Internal/Text.hpp"
#include "CorvaneTesting/TestServer.hpp"
#include "TestSupport/StandardRoutes.hpp"

using namespace corvane::testkit;

namespace {

constexpr char usage[] =
    "usage: corvane_testserver [--port N] [--tls-port N] [--root FILE]\n"
    "\n"
    "Serves the standard routes on 127.0.0.1, in the clear and over TLS, until it is told to end by SIGINT or\n"
    "SIGTERM, or until its standard input, where that is a pipe, closes. A port of 0, the default, lets the\n"
    "system choose.\n"
    "\n"
    "  --port N       the port for HTTP\n"
    "  --tls-port N   the port for HTTPS\n"
    "  --root FILE    writes the root certificate that HTTPS leads to there: DER, or PEM if the name ends in .pem\n"
    "\n"
    "It prints one line for each port, \"listening on 127.0.0.1:PORT\" and \"listening on 127.0.0.1:PORT (TLS)\".\n"
    "Routes: /get /post /echo /headers /status/N /delay/S /gzip /cache/N /bytes/N /stream/N /drop /redirect/N\n"
    "        /redirect-to?url= /cookies /cookies/set?name=value /files/NAME?size=N&cut=N /form\n"
    "        /flaky/N /users /users/N /orders\n";

struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Settings {
  std::uint16_t port = 0;
  std::uint16_t tlsPort = 0;
  std::string rootFile;
  bool showsHelp = false;
};

std::uint16_t portFrom(const std::string& text) {
  const auto value = detail::number(text);
  if (!value || *value > 65535) throw UsageError("'" + text + "' is no port");
  return static_cast<std::uint16_t>(*value);
}

Settings parse(int count, char** arguments) {
  Settings settings;
  for (int index = 1; index < count; ++index) {
    const std::string_view name = arguments[index];
    if (name == "--help" || name == "-h") {
      settings.showsHelp = true;
      continue;
    }
    if (name != "--port" && name != "--tls-port" && name != "--root") throw UsageError("unknown: " + std::string(name));
    if (++index == count) throw UsageError(std::string(name) + " needs a value");
    const std::string value = arguments[index];
    if (name == "--port") settings.port = portFrom(value);
    if (name == "--tls-port") settings.tlsPort = portFrom(value);
    if (name == "--root") settings.rootFile = value;
  }
  return settings;
}

void writeRoot(const std::string& path, const Certificate& root) {
  std::ofstream file(path, std::ios::binary);
  file << (path.ends_with(".pem") ? root.pem() : root.der());
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

/// A descriptor that becomes readable when a signal to end arrives, which then does nothing else.
detail::Descriptor endingSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  detail::Descriptor descriptor(::signalfd(-1, &signals, SFD_CLOEXEC));
  if (!descriptor.isOpen()) throw std::system_error(errno, std::generic_category(), "cannot wait for signals");
  return descriptor;
}

/// Who keeps a pipe open to this process wants it for as long. A terminal is not read: that would stop a process in its
/// background; and in a script's background the input is /dev/null, which has ended from the beginning.
bool inputIsPipe() {
  struct stat information{};
  return ::fstat(STDIN_FILENO, &information) == 0 && (S_ISFIFO(information.st_mode) || S_ISSOCK(information.st_mode));
}

bool inputHasEnded() {
  char bytes[256];
  return ::read(STDIN_FILENO, bytes, sizeof bytes) <= 0;
}

void waitForTheEnd(const detail::Descriptor& signals) {
  pollfd watched[] = {{signals.value(), POLLIN, 0}, {inputIsPipe() ? STDIN_FILENO : -1, POLLIN, 0}};
  for (;;) {
    if (::poll(watched, 2, -1) < 0 && errno != EINTR) return;
    if (watched[0].revents != 0) return;
    if (watched[1].revents != 0 && inputHasEnded()) return;
  }
}

ServerOptions options(std::uint16_t port) {
  ServerOptions result;
  result.port = port;
  result.keepsRequests = false;
  return result;
}

void prepare(TestServer& server) {
  installStandardRoutes(server);
  server.handleAll(
      [](const ReceivedRequest& request) { return MockResponse(404).text("no route for " + request.path() + "\n"); });
}

void serve(const Settings& settings) {
  const detail::Descriptor signals = endingSignals();
  const CertificateAuthority root("Corvane Demo Root");
  if (!settings.rootFile.empty()) writeRoot(settings.rootFile, root.certificate());
  ServerOptions tlsOptions = options(settings.tlsPort);
  tlsOptions.tls = Tls(root.issue(CertificateRequest::localhost()));
  TestServer plain(options(settings.port));
  TestServer secure(tlsOptions);
  prepare(plain);
  prepare(secure);
  std::printf("listening on %s\nlistening on %s (TLS)\n", plain.authority().c_str(), secure.authority().c_str());
  std::fflush(stdout);
  waitForTheEnd(signals);
}

}  // namespace

int main(int count, char** arguments) {
  try {
    const Settings settings = parse(count, arguments);
    if (settings.showsHelp) {
      std::fputs(usage, stdout);
    } else {
      serve(settings);
    }
    return 0;
  } catch (const UsageError& error) {
    std::fprintf(stderr, "corvane_testserver: %s\n\n%s", error.what(), usage);
    return 2;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "corvane_testserver: %s\n", error.what());
    return 1;
  }
}
