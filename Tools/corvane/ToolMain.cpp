#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <exception>

#include "AnswerReport.hpp"
#include "CommandLine.hpp"
#include "CommandPrinter.hpp"
#include "ExchangeRun.hpp"
#include "ToolRequest.hpp"
#include "UsageError.hpp"

namespace {

enum ExitStatus { success = 0, failedExchange = 1, wrongUsage = 2 };

// What the library would refuse later is a mistake on the command line: a method that is no token, a header
// field that the transport owns.
void requireThatItCanBeSent(const ToolOptions& options) {
  const std::string problem =
      withNewRequest(options, [](const auto& request) { return request.urlRequest().problem(); });
  if (!problem.empty()) throw UsageError(problem);
}

ExitStatus sendAndReport(const ToolOptions& options) {
  corvane::Corvane::verbosity = options.verbosity;
  corvane::Corvane::addTrustedCertificates(options.trustedCertificates);
  using Reader = AnswerReport::Reader;
  AnswerReport report(options, isatty(STDOUT_FILENO) != 0 ? Reader::person : Reader::program);
  runExchanges(options, [&](const FinishedExchange& exchange) { report.add(exchange); });
  return report.hasFailure() ? failedExchange : success;
}

ExitStatus run(int count, char** arguments) {
  const auto line = parseCommandLine(count, arguments);
  if (!line) return success;
  const ToolOptions options = ToolOptions::from(*line);
  requireThatItCanBeSent(options);
  if (!options.printsShellCommand) return sendAndReport(options);
  return printShellCommand(options) ? success : failedExchange;
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
