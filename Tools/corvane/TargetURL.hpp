#pragma once

#include <Corvane/Corvane.hpp>
#include <string>
#include <vector>

/// A URL to send to, with further query items (NAME=VALUE) after its own query. Throws `UsageError`.
corvane::URL targetURL(const std::string& text, const std::vector<std::string>& queryItems);
