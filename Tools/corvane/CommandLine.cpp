#include "CommandLine.hpp"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "ForeignOption.hpp"
#include "NearestName.hpp"
#include "OptionChecks.hpp"
#include "UsageError.hpp"

namespace {

constexpr char furtherHelp[] =
    "Retry:\n"
    "  interval=S                Waits S seconds before another attempt\n"
    "  limit=N                   Attempts at most N + 1 times again\n"
    "  delta=S                   Each wait is so many whole seconds longer than the last; 1 unless given\n"
    "  longest=S                 No wait is longer\n"
    "  jitter=F                  The part of a wait that is left to chance, from 0 to 1\n"
    "  transient                 Only after failures that may be otherwise the next time\n"
    "  retry-after               Waits at least as long as the server asks for\n"
    "\n"
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
    "  Save it under a name of yours, and go on where an interrupted one ended:\n"
    "    corvane https://example.com/disk.iso --output disk.iso --continue --retry interval=5,limit=9\n"
    "  Trust a server of your own, and print one JSON object for each of 16 responses:\n"
    "    corvane https://127.0.0.1:8443/ --trust authority.der --parallel 16 --report json\n"
    "  Authenticate; the password is asked for:\n"
    "    corvane https://example.com/account --user ada --auth digest\n"
    "  See where a redirect leads, without going there:\n"
    "    corvane https://example.com/old --follow no --include\n"
    "  See what takes how long: name, connection, TLS, redirects, the server:\n"
    "    corvane https://example.com/ --timing --output page.html\n"
    "  Count 404 as success:\n"
    "    corvane DELETE http://127.0.0.1:8080/users/7 --accept-status 404\n"
    "  Attempt again what the server cannot do now, after 0.5, 1.5 and 2.5 seconds:\n"
    "    corvane http://127.0.0.1:8080/flaky/2 --retry interval=0.5,limit=2,transient\n"
    "  Look every 10 seconds, six times:\n"
    "    corvane http://127.0.0.1:8080/get --poll 10 --count 6\n"
    "  Save several files, four at a time:\n"
    "    corvane https://example.com/{a,b,c,d,e,f}.pdf --parallel 4 --download\n"
    "  Print what to paste into a shell to do the same with curl:\n"
    "    corvane http://127.0.0.1:8080/users --header 'X-Name: it'\\''s me' --curl\n"
    "\n"
    "Exit status: 0 on success, 1 when an exchange failed, 2 when the command line is wrong.";

class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App*, std::string name) const override {
    return "Usage: " + name +
           " [METHOD] URL... [OPTION...]\n\n"
           "Sends HTTP requests. METHOD is sent as it is written: GET unless given, or POST with a body.\n\n";
  }
  std::string make_positionals(const CLI::App*) const override { return ""; }
  std::string make_group(std::string name, bool isPositional, std::vector<const CLI::Option*> options) const override {
    return CLI::Formatter::make_group(name, isPositional, options)
        .substr(1);  // one empty line between groups is enough
  }
  // What else CLI11 would say of an option, its ranges and exclusions, an error says when it matters.
  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string kind = option->get_type_name();
    return kind.empty() ? "" : " " + kind;
  }
};

/// As most methods are.
bool isInCapitals(const std::string& word) {
  return !word.empty() && std::all_of(word.begin(), word.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

/// The words that CLI11 could not place; it lists them apart by a space.
std::string unknownOption(const std::string& words, const CLI::App& app) {
  const std::string word = words.substr(0, words.find(' '));
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  // What follows may be a secret.
  const std::string name = word.starts_with("--") ? word.substr(0, word.find('=')) : word.substr(0, 2);
  const std::string problem = "there is no option " + name;
  if (const auto advice = adviceAboutForeignOption(name); !advice.empty()) return problem + ": " + advice;
  const std::string nearest = nearestName(name, names);
  return problem + (nearest.empty() ? "" : "; did you mean " + nearest + "?");
}

/// CLI11 counts what was given; a person wants to know what is wrong.
std::string sentence(const CLI::ParseError& error, const CLI::App& app) {
  const std::string text = error.what();
  if (dynamic_cast<const CLI::ExtrasError*>(&error)) return unknownOption(text.substr(text.find(": ") + 2), app);
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
    app_.footer(furtherHelp);
    app_.add_option("words", words_);
    describeRequest();
    describeSending();
    describeResponse();
    app_.set_help_flag("--help,-h", "Prints this")->group("Help");
    app_.set_version_flag("--version", "corvane " CORVANE_TOOL_VERSION, "Prints the version")->group("Help");
  }

  /// Throws `CLI::ParseError` and `UsageError`.
  CommandLine parse(int count, const char* const* arguments) {
    std::vector<std::string> words = completed(count, arguments);
    std::reverse(words.begin(), words.end());  // as CLI11 wants them
    app_.parse(std::move(words));
    takeWords();
    requireOptionsToFit(line_);
    return line_;
  }
  /// What the user asked to be told in place of a request.
  int tell(const CLI::ParseError& request) const { return app_.exit(request); }
  std::string sentenceAbout(const CLI::ParseError& error) const { return sentence(error, app_); }

 private:
  void takeWords() {
    if (words_.empty()) throw UsageError("a URL is needed");
    auto word = words_.begin();
    if (words_.size() == 1 && isInCapitals(words_.front())) throw UsageError("a URL is needed after " + words_.front());
    // No method has a colon or a slash (RFC 9110, 5.6.2).
    if (words_.size() > 1 && word->find("://") == std::string::npos) line_.method = *word++;
    line_.url = *word++;
    line_.furtherURLs.assign(word, words_.end());
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
    many("--header,-H", line_.headers, "'NAME: VALUE'", "Adds a header field; repeatable, equal names are joined");
    many("--query,-q", line_.queryItems, "NAME=VALUE", "Adds an item to the URL's query; repeatable");
    one("--json,-j", line_.json, "TEXT", "The body, which must be JSON; asks for JSON as the response, too");
    one("--data,-d", line_.data, "TEXT", "The body");
    one("--body-file", line_.bodyFile, "FILE", "The file that holds the body");
    one("--upload,-T", line_.upload, "FILE", "The body, read while it is sent, with the type of its extension");
    many("--form,-F", line_.formSections, "SECTION",
         "NAME=VALUE or NAME=@FILE[;type=TYPE]: part of a form; repeatable");
    one("--content-type", line_.contentType, "TYPE", "Of the body; unless given, what the body says, or bytes");
    flag("--gzip", line_.gzip, "Sends the body compressed");
    flag("--curl", line_.curl, "Prints a shell command that sends this request; sends nothing");
  }

  void describeSending() {
    group_ = "Sending";
    one("--timeout,-m", line_.timeout, "SECONDS", "Fails after so long without progress; 60 unless given",
        problemOfSeconds);
    one("--follow", line_.follow, "HOW", "Redirects: no, same-origin, or at most so many; 20 unless given",
        problemOfFollowing);
    one("--user,-u", line_.user, "NAME[:PASSWORD]", "Authenticates; asks for a password that is left out");
    one("--auth", line_.authentication, "KIND", "How --user does: basic (unless given) or digest",
        problemOfAuthentication);
    one("--bearer", line_.bearer, "TOKEN", "Authenticates by a token, or that in a file: @FILE");
    many("--cookie,-b", line_.cookies, "NAME=VALUE", "Sends a cookie; repeatable");
    one("--proxy,-x", line_.proxy, "URL", "Goes through a proxy: http://, socks5:// or socks5h://");
    one("--proxy-auth", line_.proxyAuthentication, "KIND",
        "How the user in --proxy does: basic (unless given) or digest", problemOfAuthentication);
    many("--no-proxy", line_.proxyExceptions, "HOST", "Goes to a domain or network without --proxy; repeatable");
    one("--cancel-after", line_.cancelAfter, "SECONDS", "Cancels each request that long after it was sent",
        problemOfDelay);
    one("--retry", line_.retry, "RULE", "Sends again after a failure: interval=S,limit=N[,delta=S], see below");
    one("--poll", line_.poll, "SECONDS", "Sends every so many seconds, for the first time after as many",
        problemOfPeriod);
    one("--count", line_.count, "N", "Ends --poll after N responses; unless given, an interrupt does",
        problemOfNumber<1, 1000000000>);
    one("--repeat", line_.repeat, "N", "Sends N times, one after the other, on one session",
        problemOfNumber<1, 1000000>);
    flag("--serial", line_.serial, "Sends to several URLs one after the other, as without --parallel");
    one("--parallel", line_.parallel, "N", "Sends to N of several URLs at the same time, or N times to a single one",
        problemOfNumber<1, 100000>);
    many("--trust", line_.trustedCertificates, "FILE",
         "A certificate (DER) to trust servers through; the last one counts");
    flag("--wait-for-connectivity", line_.waitForConnectivity, "Waits for the network instead of failing");
  }

  void describeResponse() {
    group_ = "Response";
    many("--accept-status", line_.acceptedStatuses, "NUMBER", "Counts as success, as 200 to 206 do; repeatable")
        ->check(problemOfNumber<100, 999>);
    flag("--include,-i", line_.includesHead, "Prints the status and the header fields before the body");
    flag("--head,-I", line_.asksForHead, "Sends HEAD, and prints what --include does");
    one("--download", line_.download, "[DIR]", "Saves the body in DIR or here, named as the server suggests");
    one("--output,-o", line_.output, "FILE", "Where the body goes; of several, numbered: FILE.1, FILE.2");
    flag("--continue", line_.continues, "Goes on with what an earlier --output left, and leaves what has arrived");
    one("--digest", line_.digest, "DIGEST", "What the file must have, sha256:HEX; another one is removed");
    flag("--raw", line_.raw, "Leaves JSON as it came; else it is laid out when written to a terminal");
    one("--report", line_.report, "json", "Prints facts instead of bodies, an object a line", problemOfReport);
    flag("--timing", line_.timing, "Shows what took how long, on standard error, or in the report");
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
    throw UsageError(parser.sentenceAbout(error));
  }
}
