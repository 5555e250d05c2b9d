#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <string>

#include "CommandLine.hpp"
#include "CommandPrinter.hpp"
#include "DownloadFolder.hpp"
#include "ExchangeRun.hpp"
#include "InterruptWatch.hpp"
#include "PollRun.hpp"
#include "ProgressBar.hpp"
#include "ResponseReport.hpp"
#include "TerminalStyle.hpp"
#include "ToolRequest.hpp"
#include "UsageError.hpp"

namespace {

/// What every line about a problem begins with.
std::string name() { return TerminalStyle(STDERR_FILENO).problem("corvane:"); }

enum ExitStatus { success = 0, failedExchange = 1, wrongUsage = 2 };

// What the library would refuse later is a mistake on the command line: a method that is no token, a header
// field that the transport owns.
void requireThatItCanBeSent(ToolOptions options) {
  // The sections were checked before, and building a form reads its files.
  if (!options.formSections.empty()) options.formSections.assign(1, corvane::MultipartFormSection("name", "value"));
  for (const corvane::URL& url : options.urls) {
    const std::string problem =
        withNewRequest(options, url, [](const auto& request) { return request.urlRequest().problem(); });
    if (!problem.empty()) throw UsageError(problem);
  }
}

ResponseReport::Reader reader() {
  return isatty(STDOUT_FILENO) != 0 ? ResponseReport::Reader::person : ResponseReport::Reader::program;
}

std::unique_ptr<DownloadFolder> downloadFolder(const ToolOptions& options) {
  if (!options.downloadDirectory) return nullptr;
  auto folder = std::make_unique<DownloadFolder>(*options.downloadDirectory);
  // Where the library lets them arrive: on the same volume, whatever room there is for temporary files elsewhere.
  setenv("TMPDIR", folder->arrivals().c_str(), 1);
  return folder;
}

std::unique_ptr<ProgressBar> progressBar(const ToolOptions& options) {
  // Log lines would tear it apart.
  const bool isAlone = options.verbosity == corvane::HTTPVerbosityLevel::none;
  if (!isAlone || isatty(STDERR_FILENO) == 0) return nullptr;
  if (!options.isTransfer() && !options.hasSeveralResponses()) return nullptr;
  const auto subject = options.isTransfer() ? ProgressBar::Subject::transfers : ProgressBar::Subject::batch;
  const auto count = static_cast<std::int64_t>(options.repetitions) * options.requestsOfARound();
  return std::make_unique<ProgressBar>(
      STDERR_FILENO, ProgressBar::Plan{.subject = subject, .count = count, .resumes = options.continuesDownload});
}

void printSummary(const ProgressBar& bar) {
  if (const std::string summary = bar.summary(); !summary.empty()) std::fprintf(stderr, "%s\n", summary.c_str());
}

/// `stop` is set to what ends the run early, while there is one.
ExitStatus sendAndReport(const ToolOptions& options, std::function<void()>& stop) {
  const auto folder = downloadFolder(options);
  corvane::Corvane::verbosity = options.verbosity;
  corvane::Corvane::setRedaction(corvane::HTTPRedaction::secrets());
  corvane::HTTPClientConfiguration::setDefault(options.client);
  corvane::Corvane::addTrustedCertificates(options.trustedCertificates);
  ResponseReport report(options, reader(), folder.get());
  const ExchangeListener listener{
      .finished = [&](const FinishedExchange& exchange) { report.add(exchange); },
      .attemptFailed = [&](const corvane::URL& url, const FailedAttempt& attempt) { report.add(url, attempt); }};
  const auto runToTheEnd = [&stop](auto&& exchanges) {
    stop = [&exchanges] { exchanges.stop(); };
    exchanges.run();
    stop = nullptr;
  };
  if (options.pollsEverySeconds) {
    runToTheEnd(PollRun(options, listener));
  } else {
    const auto bar = progressBar(options);
    ExchangeRun exchanges(options, bar.get(), listener);
    runToTheEnd(exchanges);
    if (bar && !exchanges.isStopped()) printSummary(*bar);
  }
  return report.hasFailure() ? failedExchange : success;
}

void tellOfInterrupt(const ToolOptions& options) {
  // Without a record of what it is of, nothing is kept.
  const bool isKept = options.continuesDownload && access((*options.outputFile + ".corvane-resume").c_str(), F_OK) == 0;
  const char* const rest = isKept ? "; what has arrived is kept for another --continue" : "";
  std::fprintf(stderr, "%s interrupted%s\n", name().c_str(), rest);
}

/// An interrupt leaves neither files that nobody asked to keep nor half a line behind.
ExitStatus sendUntilInterrupted(const ToolOptions& options) {
  std::function<void()> stop;
  const InterruptWatch watch([&stop] {
    if (stop) stop();
  });
  const ExitStatus status = sendAndReport(options, stop);
  if (const auto signal = watch.signal()) {
    if (options.isTransfer()) tellOfInterrupt(options);
    endBySignal(*signal);
  }
  return status;
}

ExitStatus execute(const ToolOptions& options) {
  if (options.printsShellCommand) return printShellCommand(options) ? success : failedExchange;
  if (options.isTransfer() || options.hasSeveralResponses() || options.retry) return sendUntilInterrupted(options);
  std::function<void()> unused;
  return sendAndReport(options, unused);
}

ExitStatus run(int count, char** arguments) {
  const auto line = parseCommandLine(count, arguments);
  if (!line) return success;
  const ToolOptions options = ToolOptions::from(*line);
  requireThatItCanBeSent(options);
  return execute(options);
}

// A closed standard stream's number would go to the next descriptor that is opened, and output into it.
void occupyClosedStreams() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", O_RDONLY);
  }
}

}  // namespace

int main(int count, char** arguments) {
  occupyClosedStreams();
  try {
    return run(count, arguments);
  } catch (const UsageError& error) {
    std::fprintf(stderr, "%s %s\nTry 'corvane --help'.\n", name().c_str(), error.what());
    return wrongUsage;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s %s\n", name().c_str(), error.what());
    return failedExchange;
  }
}
