#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Foundation/URL.hpp"

namespace platform::detail {

/// Of a name in a file system (NAME_MAX).
inline constexpr std::size_t mostNameBytes = 255;

/// The name a response suggests for a file, always usable as one path component: see
/// `URLResponse::suggestedFilename`. `contentDisposition` is the field's value, empty when there is none.
std::string suggestedFilename(std::string_view contentDisposition, const URL& url,
                              const std::optional<std::string>& mimeType);

/// The name in a Content-Disposition (RFC 6266): `filename*` (RFC 8187, in UTF-8 or ISO-8859-1) before
/// `filename`, as UTF-8, not yet made safe. Absent when neither is there and readable.
std::optional<std::string> filenameOfDisposition(std::string_view contentDisposition);

/// What of `name` may be used as one path component, possibly nothing: the part after the last separator
/// of either kind, without control and direction-changing characters, with what Windows reserves replaced
/// by "_", without dots in front (they hide files) and without dots and spaces at the end, at most
/// `maximumBytes` long with its extension kept. A device name of Windows gets a "_" in front.
std::string safeComponent(std::string_view name, std::size_t maximumBytes = mostNameBytes);

/// With dot, e.g. ".json"; empty for a type that is not known.
std::string_view extensionForMIMEType(std::string_view mimeType);

}  // namespace platform::detail
