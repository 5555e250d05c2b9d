#include "Corvane/Transport/HTTPClientConfiguration.hpp"

#include <memory>
#include <utility>

#include "Corvane/Insight/Internal/SessionInsight.hpp"
#include "Corvane/Transport/HTTPService.hpp"
#include "Corvane/Transport/Internal/SessionConfiguration.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/URLSession.hpp"
#include "Platform/Security/SecTrust.hpp"

namespace corvane {

platform::URLSessionConfiguration detail::sessionConfiguration(const HTTPClientConfiguration& configuration,
                                                               bool waitsForConnectivity) {
  auto session = platform::URLSessionConfiguration::ephemeral();
  session.waitsForConnectivity = waitsForConnectivity;
  session.maximumBodyBytes = configuration.maximumBodyBytes;
  session.httpMaximumConnectionsPerHost = configuration.maximumConnectionsPerHost;
  session.httpShouldSetCookies = configuration.storesCookies;
  session.httpCookieStorage = configuration.cookies;
  session.cache = configuration.cache;
  session.redirects = configuration.redirects;
  session.connections = configuration.connections;
  session.tls = configuration.tls;
  session.observer = std::make_shared<detail::SessionInsight>(configuration.observer, configuration.traceContext);
  return session;
}

namespace {

std::shared_ptr<const HTTPClientConfiguration> checked(HTTPClientConfiguration configuration) {
  if (std::string problem = configuration.problem(); !problem.empty())
    throw platform::Error("NSOSStatusErrorDomain", platform::OSStatus::param, std::move(problem));
  return std::make_shared<const HTTPClientConfiguration>(std::move(configuration));
}

}  // namespace

std::string HTTPClientConfiguration::problem() const {
  for (const auto& interceptor : interceptors) {
    if (!interceptor) return "An interceptor is null.";
  }
  return detail::sessionConfiguration(*this, false).problem();
}

void HTTPClientConfiguration::set(std::string sessionConfigurationIdentifier, HTTPClientConfiguration configuration) {
  const auto made = checked(std::move(configuration));
  HTTPService::shared().setConfiguration(std::move(sessionConfigurationIdentifier), made);
}

void HTTPClientConfiguration::setDefault(HTTPClientConfiguration configuration) {
  const auto made = checked(std::move(configuration));
  HTTPService::shared().setConfiguration(std::nullopt, made);
}

void HTTPClientConfiguration::remove(const std::string& sessionConfigurationIdentifier) {
  HTTPService::shared().setConfiguration(sessionConfigurationIdentifier, nullptr);
}

void HTTPClientConfiguration::removeAll() { HTTPService::shared().removeConfigurations(); }

HTTPClientConfiguration HTTPClientConfiguration::current(
    const std::optional<std::string>& sessionConfigurationIdentifier) {
  const auto found = HTTPService::shared().configuration(sessionConfigurationIdentifier);
  return found ? *found : HTTPClientConfiguration();
}

}  // namespace corvane
