#pragma once

#include <optional>
#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

/// The MIME type of files with this extension, e.g. "image/jpeg" for "jpeg" and "JPG". The extension is given without
/// the dot; the case of ASCII letters does not matter. Absent for an empty or unknown extension. The type is spelled as
/// in its registration, without parameters; the text is valid as long as the process.
CORVANE_API std::optional<std::string_view> mimeTypeForExtension(std::string_view extension);

}  // namespace platform
