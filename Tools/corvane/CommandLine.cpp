#include "CommandLine.hpp"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <cmath>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "UsageError.hpp"

namespace {

constexpr char examples[] =
    "Examples:\n"
    "  Write a page to standard output:\n"
    "    corvane https://example.com/\n"
    "  Let the query be encoded as it has to be:\n"
    "    corvane http://127.0.0.1:8080/users --query page=2 --query 'name=Ada L.'\n"
    "  Send JSON, a text or a file; a body makes the method POST, unless another is given:\n"
    "    corvane PUT http://127.0.0.1:8080/users/7 --json '{\"login\": \"ada\"}'\n"
    "    corvane http://127.0.0.1:8080/notes --data 'Call Ada' --content-type text/plain\n"
    "    corvane http://127.0.0.1:8080/upload --body-file report.csv --gzip --output answer.txt\n"
    "  Send a file while it is read, or a form:\n"
    "    corvane PUT http://127.0.0.1:8080/backup --upload backup.tar.gz\n"
    "    corvane http://127.0.0.1:8080/photos --form title=Ada --form 'photo=@ada.jpeg;type=image/jpeg'\n"
    "  Save a file of any size, and print where it is:\n"
    "    corvane https://example.com/manual.pdf --download Documents\n"
    "  Trust a server of your own, and print one JSON object for each of 16 responses:\n"
    "    corvane https://127.0.0.1:8443/ --trust authority.der --parallel 16 --report json\n"
    "  Count 404 as success:\n"
    "    corvane DELETE http://127.0.0.1:8080/users/7 --accept-status 404\n"
    "  Print what to paste into a shell to do the same with curl:\n"
    "    corvane http://127.0.0.1:8080/users --header 'X-Name: it'\\''s me' --curl\n"
    "\n"
    "Exit status: 0 on success, 1 when an exchange failed, 2 when the command line is wrong.";

class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App*, std::string name) const override {
    return "Usage: " + name +
           " [METHOD] URL [OPTION...]\n\n"
           "Sends HTTP requests. METHOD is sent as it is written: GET unless given, or POST with a body.\n\n";
  }
  std::string make_positionals(const CLI::App*) const override { return ""; }
  std::string make_group(std::string name, bool isPositional, std::vector<const CLI::Option*> options) const override {
    return CLI::Formatter::make_group(name, isPositional, options)
        .substr(1);  // one blank line between groups is enough
  }
  // What else CLI11 would say of an option, its ranges and exclusions, an error says when it matters.
  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string kind = option->get_type_name();
    return kind.empty() ? "" : " " + kind;
  }
};

/// A check of what one option was given; empty when it will do.
using Check = std::string (*)(const std::string&);

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

template <int Least, int Most>
std::string problemOfNumber(const std::string& text) {
  int number = 0;
  if (CLI::detail::lexical_cast(text, number) && number >= Least && number <= Most) return "";
  return "'" + text + "' is not a number from " + std::to_string(Least) + " to " + std::to_string(Most);
}

std::string problemOfReport(const std::string& text) {
  return text == "json" ? "" : "'" + text + "' is no kind of report; there is json";
}

std::string problemOfVerbosity(const std::string& text) {
  if (text == "none" || text == "brief" || text == "verbose") return "";
  return "'" + text + "' is no level; there are none, brief and verbose";
}

/// CLI11 counts what was given; a person wants to know what is wrong.
std::string sentence(const CLI::ParseError& error) {
  const std::string text = error.what();
  if (!dynamic_cast<const CLI::ArgumentMismatch*>(&error)) return text;
  const std::string option = text.substr(0, text.find(':'));
  return option + (text.find("At Most") == std::string::npos ? " needs a value" : " may be given only once");
}

/// The arguments, with a directory for a "--download" that has none: what follows may be an option, or the URL.
std::vector<std::string> completed(int count, const char* const* arguments) {
  std::vector<std::string> words(arguments + 1, arguments + count);
  for (std::size_t index = 0; index < words.size() && words[index] != "--"; ++index) {
    if (words[index] != "--download") continue;
    const std::string next = index + 1 < words.size() ? words[index + 1] : "-";
    if (next.starts_with('-') || next.find("://") != std::string::npos) words[index] += "=.";
  }
  return words;
}

class Parser {
 public:
  Parser() : app_("", "corvane") {
    app_.set_help_flag();  // described last
    app_.formatter(std::make_shared<HelpFormatter>());
    app_.get_formatter()->column_width(28);
    app_.footer(examples);
    app_.add_option("words", words_);
    describeRequest();
    describeSending();
    describeAnswer();
    app_.set_help_flag("--help,-h", "Prints this")->group("Help");
    app_.set_version_flag("--version", "corvane " CORVANE_TOOL_VERSION, "Prints the version")->group("Help");
  }

  /// Throws `CLI::ParseError` and `UsageError`.
  CommandLine parse(int count, const char* const* arguments) {
    std::vector<std::string> words = completed(count, arguments);
    std::reverse(words.begin(), words.end());  // as CLI11 wants them
    app_.parse(std::move(words));
    if (words_.empty()) throw UsageError("a URL is needed");
    if (words_.size() > 2) throw UsageError("'" + words_[2] + "' is one word too many: write [METHOD] URL");
    requireOneOfAKind();
    if (words_.size() > 1) line_.method = words_.front();
    line_.url = words_.back();
    return line_;
  }
  /// What the user asked to be told in place of a request.
  int tell(const CLI::ParseError& request) const { return app_.exit(request); }

 private:
  void requireOneOfAKind() const {
    const int bodies = line_.json.has_value() + line_.data.has_value() + line_.bodyFile.has_value() +
                       line_.upload.has_value() + !line_.formSections.empty();
    if (bodies > 1)
      throw UsageError("a request has one body: give one of --json, --data, --body-file, --upload and --form");
    if (!line_.download) return;
    if (line_.output) throw UsageError("an answer goes to one place: give one of --download and --output");
    if (line_.upload || !line_.formSections.empty())
      throw UsageError("--download cannot be joined with --upload and --form: give --output, or another body");
  }
  template <class Value>
  CLI::Option* one(const char* name, Value& value, const char* kind, const char* help) {
    return app_.add_option(name, value, help)->type_name(kind)->group(group_);
  }
  template <class Value>
  CLI::Option* one(const char* name, Value& value, const char* kind, const char* help, Check check) {
    return one(name, value, kind, help)->check(check);
  }
  // Each occurrence takes one value, so that the URL may follow.
  template <class Value>
  CLI::Option* many(const char* name, std::vector<Value>& values, const char* kind, const char* help) {
    return one(name, values, kind, help)
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  }
  void flag(const char* name, bool& value, const char* help) { app_.add_flag(name, value, help)->group(group_); }

  void describeRequest() {
    group_ = "Request";
    many("--header", line_.headers, "'NAME: VALUE'", "Adds a header field; repeatable, equal names are joined");
    many("--query", line_.queryItems, "NAME=VALUE", "Adds an item to the URL's query; repeatable");
    one("--json", line_.json, "TEXT", "The body, which must be JSON; asks for JSON as the answer, too");
    one("--data", line_.data, "TEXT", "The body");
    one("--body-file", line_.bodyFile, "FILE", "The file that holds the body");
    one("--upload", line_.upload, "FILE", "The body, read while it is sent, with the type of its extension");
    many("--form", line_.formSections, "SECTION", "NAME=VALUE or NAME=@FILE[;type=TYPE]: part of a form; repeatable");
    one("--content-type", line_.contentType, "TYPE", "Of the body; unless given, what the body says, or bytes");
    flag("--gzip", line_.gzip, "Sends the body compressed");
    flag("--curl", line_.curl, "Prints a shell command that sends this request; sends nothing");
  }

  void describeSending() {
    group_ = "Sending";
    one("--timeout", line_.timeout, "SECONDS", "Fails after so long without progress; 60 unless given",
        problemOfSeconds);
    one("--cancel-after", line_.cancelAfter, "SECONDS", "Cancels each request that long after it was sent",
        problemOfDelay);
    one("--repeat", line_.repeat, "N", "Sends N times, one after the other, on one session",
        problemOfNumber<1, 1000000>);
    one("--parallel", line_.parallel, "N", "Sends N at the same time", problemOfNumber<1, 100000>);
    many("--trust", line_.trustedCertificates, "FILE",
         "A certificate (DER) to trust servers through; the last one counts");
    flag("--wait-for-connectivity", line_.waitForConnectivity, "Waits for the network instead of failing");
  }

  void describeAnswer() {
    group_ = "Answer";
    many("--accept-status", line_.acceptedStatuses, "NUMBER", "Counts as success, as 200 to 206 do; repeatable")
        ->check(problemOfNumber<100, 999>);
    one("--download", line_.download, "[DIR]", "Saves the body in DIR or here, named as the server suggests");
    one("--output", line_.output, "FILE", "Where the body goes; of several, numbered: FILE.1, FILE.2");
    flag("--raw", line_.raw, "Leaves JSON as it came; else it is laid out when written to a terminal");
    one("--report", line_.report, "json", "Prints facts instead of bodies, an object a line", problemOfReport);
    one("--verbosity", line_.verbosity, "LEVEL", "Logs to standard error: none (unless given), brief or verbose",
        problemOfVerbosity);
  }

  CLI::App app_;
  std::vector<std::string> words_;
  CommandLine line_;
  const char* group_ = "Options";
};

}  // namespace

std::optional<CommandLine> parseCommandLine(int count, const char* const* arguments) {
  Parser parser;
  try {
    return parser.parse(count, arguments);
  } catch (const CLI::Success& request) {
    parser.tell(request);
    std::cout.flush();
    if (!std::cout) throw std::runtime_error("cannot write to standard output");
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    throw UsageError(sentence(error));
  }
}
