#include "ClientSettings.hpp"

#include <algorithm>
#include <memory>

#include "CommandLine.hpp"
#include "PasswordPrompt.hpp"
#include "ShellWord.hpp"
#include "UsageError.hpp"

using namespace corvane;

namespace {

platform::RedirectConfiguration redirects(const CommandLine& line) {
  if (!line.follow) return {};
  if (*line.follow == "no") return {.following = platform::RedirectFollowing::never};
  if (*line.follow == "same-origin") return {.following = platform::RedirectFollowing::sameOrigin};
  return {.limit = std::stoi(*line.follow)};
}

platform::ProxyConfiguration proxy(const CommandLine& line) {
  if (!line.proxy) return {};
  try {
    auto configuration = platform::ProxyConfiguration::fromText(*line.proxy);
    if (line.proxyAuthentication == "digest") configuration.authentication = platform::ProxyAuthentication::digest;
    configuration.exceptions = line.proxyExceptions;
    configuration.exceptsLoopback = false;  // who names a proxy wants to see it used
    return configuration;
  } catch (const Error& error) {
    throw UsageError("--proxy: " + error.message());
  }
}

std::shared_ptr<HTTPInterceptor> authentication(const CommandLine& line, const std::vector<URL>& urls) {
  const std::size_t colon = line.user->find(':');
  const std::string name = line.user->substr(0, colon);
  const std::string password =
      colon == std::string::npos ? passwordFromTerminal("Password of " + name) : line.user->substr(colon + 1);
  try {
    if (line.authentication == "digest") return std::make_shared<DigestAuthentication>(name, password, urls);
    return std::make_shared<BasicAuthentication>(name, password, urls);
  } catch (const Error& error) {
    throw UsageError("--user: " + error.message());
  }
}

}  // namespace

HTTPClientConfiguration clientConfiguration(const CommandLine& line, const std::vector<URL>& urls) {
  // Who is named in the URL is authenticated by the URL.
  const bool hasOwnUser = std::any_of(urls.begin(), urls.end(), [](const URL& url) { return url.user().has_value(); });
  if (hasOwnUser && (line.user || line.bearer))
    throw UsageError("give one of --user, --bearer and the user in the URL");
  if (line.curl && line.follow == "same-origin") throw UsageError("--curl: curl knows no --follow same-origin");
  HTTPClientConfiguration configuration;
  configuration.redirects = redirects(line);
  configuration.connections.proxy = proxy(line);
  if (line.user && !line.curl) configuration.interceptors.push_back(authentication(line, urls));
  if (const std::string problem = configuration.problem(); !problem.empty()) throw UsageError(problem);
  return configuration;
}

std::string clientOptionsForCurl(const CommandLine& line) {
  std::string options;
  if (line.follow && *line.follow != "no") options += " --location --max-redirs " + *line.follow;
  if (line.user) {
    if (line.authentication == "digest") options += " --digest";
    options += " --user " + shellWord(*line.user);
  }
  if (line.proxy) options += " --proxy " + shellWord(*line.proxy);
  if (line.proxyAuthentication == "digest") options += " --proxy-digest";
  if (line.proxyExceptions.empty()) return options;
  std::string hosts;
  for (const std::string& host : line.proxyExceptions) hosts += (hosts.empty() ? "" : ",") + host;
  return options + " --noproxy " + shellWord(hosts);
}
