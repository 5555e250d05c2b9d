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

void requireOneFile(const CommandLine& line) {
  const bool hasSeveral = !line.furtherURLs.empty() || line.repeat > 1 || line.parallel > 1 || line.poll;
  if (line.continues) {
    if (!line.output) throw UsageError("--continue needs --output FILE: the file to go on with");
    if (line.hasBody() || (line.method && *line.method != "GET")) throw UsageError("--continue is for a GET");
    if (hasSeveral) throw UsageError("--continue takes one URL, once");
  }
  if (!line.digest) return;
  if (!line.output && !line.download) throw UsageError("--digest needs --output or --download");
  if (line.upload || !line.formSections.empty()) throw UsageError("--digest cannot be joined with --upload and --form");
  if (hasSeveral) throw UsageError("--digest takes one URL, once");
}

void requireOneHead(const CommandLine& line) {
  if (line.report && (line.includesHead || line.asksForHead))
    throw UsageError("--report tells the head of each response: leave out --include and --head");
  if (!line.asksForHead) return;
  if (line.method && *line.method != "HEAD")
    throw UsageError("--head sends HEAD: leave out " + *line.method + ", or give --include");
  if (line.hasBody()) throw UsageError("--head sends no body");
  if (line.download || line.output) throw UsageError("there is no body to save with --head");
}

void requireOneIdentity(const CommandLine& line) {
  if (line.user && line.bearer) throw UsageError("give one of --user and --bearer");
  if (line.authentication != "basic" && !line.user) throw UsageError("--auth needs --user");
  if (line.proxyAuthentication != "basic" && !line.proxy) throw UsageError("--proxy-auth needs --proxy");
  if (!line.proxyExceptions.empty() && !line.proxy) throw UsageError("--no-proxy needs --proxy");
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

std::string problemOfFollowing(const std::string& text) {
  if (text == "no" || text == "same-origin" || problemOfNumber(text, 0, 1000).empty()) return "";
  return "'" + text + "' is none of: no, same-origin, a number from 0 to 1000";
}

std::string problemOfAuthentication(const std::string& text) {
  return text == "basic" || text == "digest"
             ? ""
             : "'" + text + "' is no kind of authentication; there are basic and digest";
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
  requireOneFile(line);
  requireOneHead(line);
  requireOneIdentity(line);
  requireOneManner(line);
}
