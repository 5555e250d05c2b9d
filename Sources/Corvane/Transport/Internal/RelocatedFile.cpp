#include "Corvane/Transport/Internal/RelocatedFile.hpp"

#include <optional>
#include <string>
#include <utility>

#include "Corvane/Detail/ModuleLogger.hpp"
#include "Corvane/TemporaryDirectory.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Vantorel/Logger.hpp"

namespace corvane::detail {

using platform::TemporaryFile;

namespace {

// Logged as they are; logs of different builds stay comparable.
constexpr const char* failureMessage = "Failure to create tempDirectory going back to default tempFile: ";
constexpr const char* failureFile = "DownloadRequestable";
constexpr const char* failureFunction = "sendToNetwork(completionQueue:progress:completion:)";
constexpr int failureLine = 76;

std::string nameFor(const platform::URLResponse* response, const TemporaryFile& received) {
  const std::string name = response ? response->suggestedFilename() : std::string();
  return name.empty() ? received.url().lastPathComponent() : name;
}

}  // namespace

std::shared_ptr<RelocatedFile> RelocatedFile::relocate(TemporaryFile received, const platform::URLResponse* response) {
  try {
    TemporaryFile directory(makeTemporaryDirectory().fileSystemPath());
    std::string target = directory.path();
    if (!target.ends_with('/')) target += '/';
    target += nameFor(response, received);
    // Temporary before it is there: the process may end at any moment.
    TemporaryFile file(target);
    received.moveTo(target);
    return std::make_shared<RelocatedFile>(std::move(file), std::move(directory));
  } catch (...) {
    const platform::Error error = platform::Error::current();
    moduleLogger().error(failureMessage + error.message(), std::nullopt, std::nullopt, failureFile, failureFunction,
                         failureLine);
    return std::make_shared<RelocatedFile>(std::move(received), TemporaryFile());
  }
}

std::shared_ptr<RelocatedFile> RelocatedFile::atDestination(TemporaryFile received) {
  auto file = std::make_shared<RelocatedFile>(std::move(received), TemporaryFile());
  file->isAtDestination_ = true;
  return file;
}

RelocatedFile::RelocatedFile(TemporaryFile file, TemporaryFile directory)
    : file_(std::move(file)), directory_(std::move(directory)), url_(file_.url()) {}

void RelocatedFile::remove() {
  file_.remove();
  // Removed only when it is empty: whatever else is in it is not ours.
  directory_.remove();
}

void RelocatedFile::keep() {
  file_.keep();
  directory_.keep();
}

}  // namespace corvane::detail
