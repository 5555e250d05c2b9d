#include "OptionChecks.hpp"

#include <CLI/TypeTools.hpp>
#include <cmath>

#include "CommandLine.hpp"
#include "UsageError.hpp"

namespace {

bool isNumber(const std::string& text, double& value) {
  return CLI::detail::lexical_cast(text, value) && std::isfinite(value);
}

void requireOneBody(const CommandLine& line) {
  const int bodies = line.json.has_value() + line.data.has_value() + line.bodyFile.has_value() +
                     line.upload.has_value() + !line.formSections.empty();
  if (bodies > 1)
    throw UsageError("a request has one body: give one of --json, --data, --body-file, --upload and --form");
}

void requireOnePlace(const CommandLine& line) {
  if (!line.download) return;
  if (line.output) throw UsageError("a response goes to one place: give one of --download and --output");
  if (line.upload || !line.formSections.empty())
    throw UsageError("--download cannot be joined with --upload and --form: give --output, or another body");
}

void requireOneManner(const CommandLine& line) {
  if (line.serial && line.parallel > 1) throw UsageError("give one of --serial and --parallel");
  if (line.count && !line.poll) throw UsageError("--count needs --poll; --repeat sends so many times");
  if (!line.poll) return;
  if (line.repeat > 1 || line.parallel > 1)
    throw UsageError("--poll cannot be joined with --repeat and --parallel: give --count");
  if (!line.furtherURLs.empty()) throw UsageError("--poll takes one URL");
}

}  // namespace

std::string problemOfSeconds(const std::string& text) {
  double seconds = 0;
  if (isNumber(text, seconds) && seconds > 0) return "";
  return "'" + text + "' is not a positive number of seconds";
}

std::string problemOfDelay(const std::string& text) {
  double seconds = 0;
  if (isNumber(text, seconds) && seconds >= 0) return "";
  return "'" + text + "' is not a number of seconds";
}

std::string problemOfPeriod(const std::string& text) {
  double seconds = 0;
  if (isNumber(text, seconds) && seconds >= 0.001) return "";
  return "'" + text + "' is not a number of seconds from 0.001";
}

std::string problemOfNumber(const std::string& text, int least, int most) {
  int number = 0;
  if (CLI::detail::lexical_cast(text, number) && number >= least && number <= most) return "";
  return "'" + text + "' is not a number from " + std::to_string(least) + " to " + std::to_string(most);
}

std::string problemOfReport(const std::string& text) {
  return text == "json" ? "" : "'" + text + "' is no kind of report; there is json";
}

std::string problemOfVerbosity(const std::string& text) {
  if (text == "none" || text == "brief" || text == "verbose") return "";
  return "'" + text + "' is no level; there are none, brief and verbose";
}

void requireOptionsToFit(const CommandLine& line) {
  requireOneBody(line);
  requireOnePlace(line);
  requireOneManner(line);
}
