#include "SweepProcesses.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <system_error>

#include "CorvaneTesting/TestServer.hpp"
#include "TestSupport/StandardRoutes.hpp"

namespace corvane::testkit {

namespace {

struct Report {
  std::uint64_t number;
  SweepVerdict verdict;
};

std::array<int, 2> makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  return ends;
}

pid_t forked() {
  const pid_t process = ::fork();
  if (process < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (process == 0) ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  return process;
}

[[noreturn]] void serve(int port) {
  TestServer server(ServerOptions{.addresses = {"127.0.0.1", "::1"}, .keepsRequests = false});
  installStandardRoutes(server);
  server.handle("/stall", [](const auto&) { return MockResponse(200).stall(Moment::beforeStatusLine); });
  const std::uint16_t number = server.port();
  if (::write(port, &number, sizeof number) != sizeof number) ::_exit(1);
  for (;;) ::pause();
}

std::string readAll(int descriptor) {
  std::string text;
  std::array<char, 4096> piece{};
  for (ssize_t count = 0; (count = ::read(descriptor, piece.data(), piece.size())) > 0;) {
    text.append(piece.data(), static_cast<std::size_t>(count));
  }
  return text;
}

/// Whether a request of this process still works, on the connections that are there.
bool isUsable(const std::string& server) {
  const Outcomes outcome;
  const DispatchQueue queue("follow-up");
  DataGetRequest(URL(server + "/get")).send(queue, [outcome](const DataResponse& response) {
    outcome.add(!response.result.isSuccess());
  });
  outcome.await(1);
  return !outcome.hadError();
}

}  // namespace

SweepServer::SweepServer() {
  const auto port = makePipe();
  process_ = forked();
  if (process_ == 0) serve(port[1]);
  ::close(port[1]);
  std::uint16_t number = 0;
  if (::read(port[0], &number, sizeof number) != sizeof number) throw std::runtime_error("the server does not start");
  ::close(port[0]);
  url_ = "http://127.0.0.1:" + std::to_string(number);
}

SweepServer::~SweepServer() {
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
}

SweepVerdict runOnce(const SweepScene& scene, FailingAllocations::Which which, std::size_t number,
                     const std::string& server, bool isCold) {
  if (!isCold) isUsable(server);
  SweepRun run(server, number, which);
  scene.run(run);
  const bool wasReached = run.end();
  if (!isUsable(server)) return SweepVerdict::unusable;
  // What the call that threw may have left is brought to its end, and must tell nobody.
  if (run.hasThrown()) {
    Corvane::resetSessions();
    isUsable(server);
  }
  if (run.outcomes().count() != 1) return SweepVerdict::repeated;
  if (!wasReached) return SweepVerdict::notReached;
  if (run.hasThrown()) return SweepVerdict::exception;
  return run.outcomes().hadError() ? SweepVerdict::error : SweepVerdict::value;
}

void SweepWorkers::work(std::size_t number, int reports) const {
  if (!range_.isCold) {
    // What is made once in a process is there, and connections.
    isUsable(server_);
    SweepRun warmUp(server_, 0, FailingAllocations::Which::one);
    scene_.run(warmUp);
  }
  for (; number <= range_.last; number += range_.step) {
    const Report report{number, runOnce(scene_, which_, number, server_, range_.isCold)};
    if (::write(reports, &report, sizeof report) != sizeof report) ::_exit(1);
    if (report.verdict == SweepVerdict::notReached || range_.isCold) break;
  }
  ::_exit(0);
}

void SweepWorkers::start(std::size_t number) {
  const auto reports = makePipe();
  const auto errors = makePipe();
  process_ = forked();
  if (process_ == 0) {
    ::dup2(errors[1], STDERR_FILENO);
    FailingAllocations::showStackOfTermination();
    work(number, reports[1]);
  }
  ::close(reports[1]);
  ::close(errors[1]);
  reports_ = reports[0];
  errors_ = errors[0];
}

SweepWorkers::Finding SweepWorkers::nextFinding(std::size_t number) {
  if (process_ < 0) start(number);
  pollfd reading{reports_, POLLIN, 0};
  int ready = 0;
  do {
    ready = ::poll(&reading, 1, patience_ * 1000);
  } while (ready < 0 && errno == EINTR);
  if (ready == 0) return ending(number, true);
  Report report{};
  if (::read(reports_, &report, sizeof report) != sizeof report) return ending(number, false);
  if (range_.isCold) stop();
  return {report.number, report.verdict, {}};
}

/// What became of the process that was to report on this number.
SweepWorkers::Finding SweepWorkers::ending(std::size_t number, bool isKilled) {
  if (isKilled) ::kill(process_, SIGKILL);
  Finding finding{number, SweepVerdict::hung, readAll(errors_)};
  stop();
  if (isKilled) return finding;
  const bool saysWhy = finding.text.find("out of memory") != std::string::npos;
  finding.verdict = saysWhy ? SweepVerdict::ended : SweepVerdict::crashed;
  return finding;
}

void SweepWorkers::stop() {
  if (process_ < 0) return;
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
  ::close(reports_);
  ::close(errors_);
  process_ = -1;
}

}  // namespace corvane::testkit
