#include "Corvane/Request/UserAgent.hpp"

#include "Platform/Foundation/Bundle.hpp"
#include "Platform/Foundation/ProcessInfo.hpp"

namespace corvane {

namespace {

std::string textOrUnknown(const platform::Dictionary& information, std::string_view key) {
  const platform::AnyValue* value = information.find(key);
  return value && value->text() ? *value->text() : "Unknown";
}

std::string versionText(const platform::OperatingSystemVersion& version) {
  return std::to_string(version.majorVersion) + "." + std::to_string(version.minorVersion) + "." +
         std::to_string(version.patchVersion);
}

std::string libraryPart(const std::optional<platform::Dictionary>& information) {
  const platform::AnyValue* version = information ? information->find("CFBundleShortVersionString") : nullptr;
  return version ? "Corvane/" + version->description() : "Unknown";
}

}  // namespace

const std::string& userAgent() {
  static const std::string& text = *new std::string(detail::composedUserAgent({
      .application = platform::Bundle::main().infoDictionary(),
      .library = platform::Bundle::library().infoDictionary(),
      .operatingSystemVersion = versionText(platform::ProcessInfo::operatingSystemVersion()),
  }));
  return text;
}

std::string detail::composedUserAgent(const UserAgentInputs& inputs) {
  if (!inputs.application) return "Corvane";
  const platform::Dictionary& application = *inputs.application;
  return textOrUnknown(application, "CFBundleExecutable") + "/" +
         textOrUnknown(application, "CFBundleShortVersionString") + " (" +
         textOrUnknown(application, "CFBundleIdentifier") + "; build:" + textOrUnknown(application, "CFBundleVersion") +
         "; iOS " + inputs.operatingSystemVersion + ") " + libraryPart(inputs.library);
}

}  // namespace corvane
