#include <algorithm>
#include <array>
#include <utility>

#include "Platform/Loading/Internal/SuggestedFilename.hpp"

namespace platform::detail {

namespace {

using Row = std::pair<std::string_view, std::string_view>;

constexpr std::array table = {
    Row{"application/atom+xml", ".atom"},
    Row{"application/epub+zip", ".epub"},
    Row{"application/geo+json", ".geojson"},
    Row{"application/gzip", ".gz"},
    Row{"application/java-archive", ".jar"},
    Row{"application/javascript", ".js"},
    Row{"application/json", ".json"},
    Row{"application/ld+json", ".jsonld"},
    Row{"application/msword", ".doc"},
    Row{"application/ogg", ".ogx"},
    Row{"application/pdf", ".pdf"},
    Row{"application/pkix-cert", ".cer"},
    Row{"application/rss+xml", ".rss"},
    Row{"application/rtf", ".rtf"},
    Row{"application/sql", ".sql"},
    Row{"application/vnd.ms-excel", ".xls"},
    Row{"application/vnd.ms-powerpoint", ".ppt"},
    Row{"application/vnd.openxmlformats-officedocument.presentationml.presentation", ".pptx"},
    Row{"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet", ".xlsx"},
    Row{"application/vnd.openxmlformats-officedocument.wordprocessingml.document", ".docx"},
    Row{"application/wasm", ".wasm"},
    Row{"application/x-7z-compressed", ".7z"},
    Row{"application/x-bzip2", ".bz2"},
    Row{"application/x-tar", ".tar"},
    Row{"application/x-x509-ca-cert", ".crt"},
    Row{"application/x-xz", ".xz"},
    Row{"application/xhtml+xml", ".xhtml"},
    Row{"application/xml", ".xml"},
    Row{"application/yaml", ".yaml"},
    Row{"application/zip", ".zip"},
    Row{"application/zstd", ".zst"},
    Row{"audio/aac", ".aac"},
    Row{"audio/flac", ".flac"},
    Row{"audio/mp4", ".m4a"},
    Row{"audio/mpeg", ".mp3"},
    Row{"audio/ogg", ".ogg"},
    Row{"audio/wav", ".wav"},
    Row{"audio/webm", ".weba"},
    Row{"font/otf", ".otf"},
    Row{"font/ttf", ".ttf"},
    Row{"font/woff", ".woff"},
    Row{"font/woff2", ".woff2"},
    Row{"image/avif", ".avif"},
    Row{"image/bmp", ".bmp"},
    Row{"image/gif", ".gif"},
    Row{"image/heic", ".heic"},
    Row{"image/jpeg", ".jpeg"},
    Row{"image/png", ".png"},
    Row{"image/svg+xml", ".svg"},
    Row{"image/tiff", ".tiff"},
    Row{"image/vnd.microsoft.icon", ".ico"},
    Row{"image/webp", ".webp"},
    Row{"text/calendar", ".ics"},
    Row{"text/css", ".css"},
    Row{"text/csv", ".csv"},
    Row{"text/html", ".html"},
    Row{"text/javascript", ".js"},
    Row{"text/markdown", ".md"},
    Row{"text/plain", ".txt"},
    Row{"text/vcard", ".vcf"},
    Row{"text/xml", ".xml"},
    Row{"video/mp4", ".mp4"},
    Row{"video/mpeg", ".mpeg"},
    Row{"video/ogg", ".ogv"},
    Row{"video/quicktime", ".mov"},
    Row{"video/webm", ".webm"},
};
static_assert(std::is_sorted(table.begin(), table.end()), "looked up by bisection");

}  // namespace

std::string_view extensionForMIMEType(std::string_view mimeType) {
  const auto row = std::lower_bound(table.begin(), table.end(), mimeType,
                                    [](const Row& left, std::string_view type) { return left.first < type; });
  return row != table.end() && row->first == mimeType ? row->second : std::string_view();
}

}  // namespace platform::detail
