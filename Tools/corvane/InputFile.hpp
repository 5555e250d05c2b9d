#pragma once

#include <Corvane/Corvane.hpp>
#include <string>

/// The place of a file that is read later. `purpose` is what it is for, "file to upload". Throws `UsageError` when
/// it cannot be read now or is no regular file, so that nothing is sent in vain.
corvane::URL inputFile(const std::string& path, const std::string& purpose);
