#pragma once

#include <Corvane/Corvane.hpp>
#include <string>

/// Writes all bytes to a file, a pipe or a device, in place. Returns what went wrong; empty when nothing did.
std::string writeFile(const std::string& path, const corvane::Data& bytes);
