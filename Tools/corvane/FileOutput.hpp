#pragma once

#include <Corvane/Corvane.hpp>
#include <string>

/// Moves a file to another path, in the place of a regular file that is there, and removes the directory that it was
/// alone in. It gets the permissions of the file that it replaces, or those of any new file. Does nothing where it is
/// there already. Returns what went wrong.
std::string moveFile(const std::string& file, const std::string& path);

/// Writes all bytes to a file, a pipe or a device, in place. Returns what went wrong; empty when nothing did.
std::string writeFile(const std::string& path, const corvane::Data& bytes);
