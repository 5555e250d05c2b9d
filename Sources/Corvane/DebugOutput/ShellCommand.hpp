#pragma once

#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLRequest.hpp"

namespace corvane {

/// Options of a command line.
struct ShellCommandOptions {
  /// Whether the values of "Authorization", "Proxy-Authorization" and "Cookie", and a password in the URL, are
  /// replaced by the shell variables AUTHORIZATION, PROXY_AUTHORIZATION, COOKIE and URL_PASSWORD.
  bool hidesSecrets = false;
  /// The path of the file for a body that does not fit on a command line.
  std::string bodyFile = "request-body";
};

/// A command line for a POSIX shell that sends a request with the command-line client `curl`. For a file upload it
/// refers to the file itself, which is not read. A body that is made while it is sent is not made for it: the command
/// reads the body from its standard input.
struct ShellCommand {
  /// One line, safe to paste: every word is quoted.
  std::string text;
  /// The file to which `body` has to be written before the command runs; absent when the command line contains the
  /// body. A body needs a file when it is larger than 8 KiB, is not UTF-8, or has control characters.
  std::optional<std::string> bodyFile;
  /// The bytes of the body; empty when there is none, for an upload of a file, and for a body that is made while it is
  /// sent.
  platform::Data body;
};

namespace detail {

/// Throws "NSURLErrorDomain" -1000 for a request that would not be sent either (see `URLRequest::problem`).
CORVANE_API ShellCommand shellCommand(const platform::URLRequest& request, const ShellCommandOptions& options);
/// The same for the upload of a file. Throws "NSURLErrorDomain" -1002 for a URL that names no file.
CORVANE_API ShellCommand shellCommand(const platform::URLRequest& request, const platform::URL& file,
                                      const ShellCommandOptions& options);

}  // namespace detail
}  // namespace corvane
