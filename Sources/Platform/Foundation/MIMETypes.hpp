#pragma once

#include <optional>
#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

/// The MIME type of files whose names end in a dot and `extension`, e.g. "image/jpeg" for "jpeg" and "JPG".
/// The extension is given without the dot; the case of ASCII letters does not matter. Absent for an extension
/// that is empty or not known. The type is written as its registration writes it, without parameters, and lives
/// as long as the process.
CORVANE_API std::optional<std::string_view> mimeTypeForExtension(std::string_view extension);

}  // namespace platform
