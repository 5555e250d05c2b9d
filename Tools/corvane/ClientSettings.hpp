#pragma once

#include <Corvane/Corvane.hpp>
#include <string>
#include <vector>

struct CommandLine;

/// What the tool sends with: redirects, the proxy, credentials for the servers of the URLs. Asks on the terminal for a
/// password that the command line lacks. Throws `UsageError`.
corvane::HTTPClientConfiguration clientConfiguration(const CommandLine& line, const std::vector<corvane::URL>& urls);

/// The same as options of curl, each with a space before it. The name of a user without a password stands alone: curl
/// asks, too.
std::string clientOptionsForCurl(const CommandLine& line);
