#include "CommandPrinter.hpp"

#include <Platform/Foundation/FileManager.hpp>
#include <Platform/Foundation/URLComponents.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "FileOutput.hpp"
#include "ShellWord.hpp"
#include "ToolRequest.hpp"

using namespace corvane;

namespace {

ShellCommand commandFor(const ToolOptions& options, const URL& url, const std::string& bodyFile) {
  return withNewRequest(options, url,
                        [&](const auto& request) { return request.shellCommand({.bodyFile = bodyFile}); });
}

/// What makes curl save the body of a success, and of nothing else, where this tool would. A second file of a name
/// is numbered otherwise, or refused.
std::string savingOptions(const ToolOptions& options, const URL& url) {
  if (!options.downloadDirectory) return "";
  const std::string place = " --fail --no-clobber --output-dir " + shellWord(*options.downloadDirectory);
  const auto components = platform::URLComponents::make(url, true);
  const bool namesFile =
      components && !components->percentEncodedPath.empty() && !components->percentEncodedPath.ends_with('/');
  // Without a last component, curl has no name to fall back on.
  if (namesFile) return place + " --remote-name --remote-header-name";
  return place + " --output " + shellWord(url.host().value_or("Unknown"));
}

bool print(const ShellCommand& command, const std::string& furtherOptions) {
  if (std::printf("%s%s\n", command.text.c_str(), furtherOptions.c_str()) >= 0 && std::fflush(stdout) == 0) return true;
  std::fprintf(stderr, "corvane: cannot write to standard output: %s\n", std::strerror(errno));
  return false;
}

bool keepBody(const ShellCommand& command) {
  const std::string problem = writeFile(*command.bodyFile, command.body);
  if (problem.empty()) {
    std::fprintf(stderr, "corvane: the command reads the body from %s\n", command.bodyFile->c_str());
    return true;
  }
  std::fprintf(stderr, "corvane: %s\n", problem.c_str());
  return false;
}

bool printCommandFor(const ToolOptions& options, const URL& url) {
  const bool usersFileWillDo = options.bodyFile && !options.compressesBody;
  const ShellCommand command = commandFor(options, url, options.bodyFile.value_or(""));
  const std::string further = options.clientOptionsForCurl + savingOptions(options, url);
  if (!command.bodyFile || usersFileWillDo) return print(command, further);
  const std::string folder = platform::FileManager::createTemporaryDirectory();
  const ShellCommand readingFile = commandFor(options, url, folder + "/request-body");
  return keepBody(readingFile) && print(readingFile, further);
}

}  // namespace

bool printShellCommand(const ToolOptions& options) {
  return std::all_of(options.urls.begin(), options.urls.end(),
                     [&](const URL& url) { return printCommandFor(options, url); });
}
