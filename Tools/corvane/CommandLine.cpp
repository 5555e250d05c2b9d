#include "CommandLine.hpp"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <cmath>
#include <cstdio>

#include "UsageError.hpp"

namespace {

constexpr char examples[] =
    "Examples:\n"
    "  corvane https://example.com/\n"
    "      writes the page to standard output\n"
    "  corvane http://127.0.0.1:8080/users --query page=2 --query 'name=Ada L.' --header 'Accept: text/csv'\n"
    "      a query is encoded as it has to be\n"
    "  corvane PUT http://127.0.0.1:8080/users/7 --data '{\"name\": \"Ada\"}' --content-type application/json\n"
    "      a body makes the method POST, unless another is given\n"
    "  corvane http://127.0.0.1:8080/upload --body-file report.csv --gzip --output answer.txt\n"
    "  corvane https://127.0.0.1:8443/ --trust authority.der --parallel 16 --report json\n"
    "      one JSON object on a line for each response, as they arrive\n"
    "  corvane DELETE http://127.0.0.1:8080/users/7 --accept-status 404\n"
    "  corvane http://127.0.0.1:8080/users --header 'X-Name: it'\\''s me' --curl\n"
    "      prints what to paste into a shell, and sends nothing\n"
    "\n"
    "Exit status: 0 on success, 1 when an exchange failed, 2 when the command line is wrong.";

class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App*, std::string name) const override {
    return "Usage: " + name + " [METHOD] URL [OPTION...]\n";
  }
  std::string make_positionals(const CLI::App*) const override { return ""; }
  // What else CLI11 would say of an option, its ranges and exclusions, an error says when it matters.
  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string kind = option->get_type_name();
    return kind.empty() ? "" : " " + kind;
  }
};

/// A check that adds nothing to the help.
CLI::Validator silent(const CLI::Validator& check) { return check.description(""); }

std::string problemOfSeconds(const std::string& text) {
  double seconds = 0;
  if (CLI::detail::lexical_cast(text, seconds) && std::isfinite(seconds) && seconds > 0) return "";
  return "'" + text + "' is not a positive number of seconds";
}

std::string problemOfDelay(const std::string& text) {
  double seconds = 0;
  if (CLI::detail::lexical_cast(text, seconds) && std::isfinite(seconds) && seconds >= 0) return "";
  return "'" + text + "' is not a number of seconds";
}

class Parser {
 public:
  Parser()
      : app_("Sends HTTP requests. METHOD is sent as it is written: GET unless given, or POST when there is a body.",
             "corvane") {
    app_.formatter(std::make_shared<HelpFormatter>());
    app_.get_formatter()->column_width(26);
    app_.set_version_flag("--version", "corvane " CORVANE_TOOL_VERSION, "Print the version and exit");
    app_.footer(examples);
    app_.add_option("words", words_);
    describeRequest();
    describeSending();
    describeOutput();
  }

  /// Throws `CLI::ParseError` and `UsageError`.
  CommandLine parse(int count, const char* const* arguments) {
    app_.parse(count, arguments);
    if (words_.empty()) throw UsageError("a URL is needed");
    if (words_.size() > 2) throw UsageError("'" + words_[2] + "' is one word too many: write [METHOD] URL");
    if (words_.size() > 1) line_.method = words_.front();
    line_.url = words_.back();
    return line_;
  }
  /// What the user asked to be told in place of a request.
  int tell(const CLI::ParseError& request) const { return app_.exit(request); }

 private:
  template <class Value>
  CLI::Option* one(const char* name, Value& value, const char* kind, const char* help) {
    return app_.add_option(name, value, help)->type_name(kind);
  }
  // Each occurrence takes one value, so that the URL may follow.
  template <class Value>
  CLI::Option* many(const char* name, std::vector<Value>& values, const char* kind, const char* help) {
    return app_.add_option(name, values, help)
        ->type_name(kind)
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  }

  void describeRequest() {
    many("--header", line_.headers, "'NAME: VALUE'", "A header field; repeatable, equal names are joined with commas");
    many("--query", line_.queryItems, "NAME=VALUE", "Adds an item to the URL's query; repeatable");
    auto* data = one("--data", line_.data, "TEXT", "The body");
    one("--body-file", line_.bodyFile, "FILE", "The file that holds the body")->excludes(data);
    one("--content-type", line_.contentType, "TYPE", "Of the body; application/octet-stream unless given");
    app_.add_flag("--gzip", line_.gzip, "Sends the body compressed");
  }

  void describeSending() {
    one("--timeout", line_.timeout, "SECONDS", "Without progress, until the exchange fails; 60 unless given")
        ->check(problemOfSeconds);
    many("--trust", line_.trustedCertificates, "FILE",
         "A certificate (DER) to trust servers through, beside the system's; the last one counts");
    app_.add_flag("--wait-for-connectivity", line_.waitForConnectivity, "Waits for the network instead of failing");
    many("--accept-status", line_.acceptedStatuses, "NUMBER", "Counts as success, as 200 to 206 do; repeatable")
        ->check(silent(CLI::Range(100, 999)));
    one("--cancel-after", line_.cancelAfter, "SECONDS", "Cancels each request that long after it was sent")
        ->check(problemOfDelay);
    one("--repeat", line_.repeat, "N", "Sends N times, one after the other, on one session")
        ->check(silent(CLI::Range(1, 1000000)));
    one("--parallel", line_.parallel, "N", "Sends N at the same time")->check(silent(CLI::Range(1, 100000)));
  }

  void describeOutput() {
    one("--output", line_.output, "FILE", "Where the body goes; of several, numbered: FILE.1, FILE.2");
    one("--report", line_.report, "json", "Prints facts in place of bodies")->check(silent(CLI::IsMember({"json"})));
    one("--verbosity", line_.verbosity, "LEVEL",
        "none (unless given), brief or verbose: what is logged to standard error")
        ->check(silent(CLI::IsMember({"none", "brief", "verbose"})));
    app_.add_flag("--curl", line_.curl, "Prints a shell command that sends this request, and sends nothing");
  }

  CLI::App app_;
  std::vector<std::string> words_;
  CommandLine line_;
};

}  // namespace

std::optional<CommandLine> parseCommandLine(int count, const char* const* arguments) {
  Parser parser;
  try {
    return parser.parse(count, arguments);
  } catch (const CLI::Success& request) {
    parser.tell(request);
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what());
  }
}
