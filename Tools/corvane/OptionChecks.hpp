#pragma once

#include <string>

struct CommandLine;

/// A check of what one option was given: what is wrong with it; empty when it will do.
using Check = std::string (*)(const std::string&);

std::string problemOfSeconds(const std::string& text);
/// Zero will do.
std::string problemOfDelay(const std::string& text);
/// At least a millisecond.
std::string problemOfPeriod(const std::string& text);
std::string problemOfFollowing(const std::string& text);
std::string problemOfAuthentication(const std::string& text);
std::string problemOfReport(const std::string& text);
std::string problemOfVerbosity(const std::string& text);

std::string problemOfNumber(const std::string& text, int least, int most);
template <int Least, int Most>
std::string problemOfNumber(const std::string& text) {
  return problemOfNumber(text, Least, Most);
}

/// Throws `UsageError` when options are given that cannot be joined.
void requireOptionsToFit(const CommandLine& line);
