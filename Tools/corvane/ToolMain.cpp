#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>

#include "AnswerReport.hpp"
#include "CommandLine.hpp"
#include "CommandPrinter.hpp"
#include "DownloadFolder.hpp"
#include "ExchangeRun.hpp"
#include "InterruptWatch.hpp"
#include "ProgressBar.hpp"
#include "ToolRequest.hpp"
#include "UsageError.hpp"

namespace {

enum ExitStatus { success = 0, failedExchange = 1, wrongUsage = 2 };

// What the library would refuse later is a mistake on the command line: a method that is no token, a header
// field that the transport owns.
void requireThatItCanBeSent(ToolOptions options) {
  // The sections were checked before, and building a form reads its files.
  if (!options.formSections.empty()) options.formSections.assign(1, corvane::MultipartFormSection("name", "value"));
  const std::string problem =
      withNewRequest(options, [](const auto& request) { return request.urlRequest().problem(); });
  if (!problem.empty()) throw UsageError(problem);
}

AnswerReport::Reader reader() {
  return isatty(STDOUT_FILENO) != 0 ? AnswerReport::Reader::person : AnswerReport::Reader::program;
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
  if (!options.isTransfer() || !isAlone || isatty(STDERR_FILENO) == 0) return nullptr;
  return std::make_unique<ProgressBar>(STDERR_FILENO, options.repetitions * options.parallelRequests);
}

/// `current` is set to what is being run, once it is.
ExitStatus sendAndReport(const ToolOptions& options, ExchangeRun*& current) {
  const auto folder = downloadFolder(options);
  corvane::Corvane::verbosity = options.verbosity;
  corvane::Corvane::addTrustedCertificates(options.trustedCertificates);
  AnswerReport report(options, reader(), folder.get());
  const auto bar = progressBar(options);
  ExchangeRun exchanges(options, bar.get(), [&](const FinishedExchange& exchange) { report.add(exchange); });
  current = &exchanges;
  exchanges.run();
  return report.hasFailure() ? failedExchange : success;
}

/// An interrupt leaves neither files nor half a line behind.
ExitStatus transferAndReport(const ToolOptions& options) {
  ExchangeRun* exchanges = nullptr;
  const InterruptWatch watch([&exchanges] { exchanges->stop(); });
  const ExitStatus status = sendAndReport(options, exchanges);
  if (const auto signal = watch.signal()) endBySignal(*signal);
  return status;
}

ExitStatus carryOut(const ToolOptions& options) {
  if (options.printsShellCommand) return printShellCommand(options) ? success : failedExchange;
  if (options.isTransfer()) return transferAndReport(options);
  ExchangeRun* unused = nullptr;
  return sendAndReport(options, unused);
}

ExitStatus run(int count, char** arguments) {
  const auto line = parseCommandLine(count, arguments);
  if (!line) return success;
  const ToolOptions options = ToolOptions::from(*line);
  requireThatItCanBeSent(options);
  return carryOut(options);
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
    std::fprintf(stderr, "corvane: %s\nTry 'corvane --help'.\n", error.what());
    return wrongUsage;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "corvane: %s\n", error.what());
    return failedExchange;
  }
}
