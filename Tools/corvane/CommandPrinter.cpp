#include "CommandPrinter.hpp"

#include <Platform/Foundation/FileManager.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "FileOutput.hpp"
#include "ToolRequest.hpp"

using namespace corvane;

namespace {

ShellCommand commandFor(const ToolOptions& options, const std::string& bodyFile) {
  return withNewRequest(options, [&](const auto& request) { return request.shellCommand({.bodyFile = bodyFile}); });
}

bool print(const ShellCommand& command) {
  if (std::printf("%s\n", command.text.c_str()) >= 0 && std::fflush(stdout) == 0) return true;
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

}  // namespace

bool printShellCommand(const ToolOptions& options) {
  const bool usersFileWillDo = options.bodyFile && !options.compressesBody;
  const ShellCommand command = commandFor(options, options.bodyFile.value_or(""));
  if (!command.bodyFile || usersFileWillDo) return print(command);
  const std::string folder = platform::FileManager::createTemporaryDirectory();
  const ShellCommand readingFile = commandFor(options, folder + "/request-body");
  return keepBody(readingFile) && print(readingFile);
}
