#include "Platform/Foundation/Internal/URLLayout.hpp"

#include "Platform/Foundation/Internal/IRI.hpp"
#include "Platform/Foundation/Internal/URLParser.hpp"
#include "Platform/Foundation/Internal/UserInformation.hpp"

namespace platform::detail {

namespace {

/// RFC 3986, 5.2.4, in one pass over the segments.
std::string withoutDotSegments(std::string_view path) {
  std::string result;
  const bool isAbsolute = path.starts_with('/');
  if (isAbsolute) path.remove_prefix(1);
  const std::size_t root = isAbsolute ? 1 : 0;
  if (isAbsolute) result += '/';
  while (true) {
    const std::size_t slash = path.find('/');
    const std::string_view segment = path.substr(0, slash);
    const bool isLast = slash == std::string_view::npos;
    if (segment == "..") {
      // Drop the slash that ends the result, then the segment before it.
      if (result.size() > root) result.pop_back();
      const std::size_t previous = result.rfind('/');
      result.resize(previous == std::string::npos ? 0 : previous + 1);
    } else if (segment != ".") {
      result += segment;
      if (!isLast) result += '/';
    }
    if (isLast) return result;
    path.remove_prefix(slash + 1);
  }
}

/// RFC 3986, 5.2.3.
std::string mergedPath(std::string_view base, const URLLayout& baseLayout, std::string_view reference) {
  const std::string_view path = baseLayout.path.of(base);
  if (baseLayout.hasAuthority() && path.empty()) return "/" + std::string(reference);
  const std::size_t slash = path.rfind('/');
  return std::string(path.substr(0, slash == std::string_view::npos ? 0 : slash + 1)).append(reference);
}

/// The authority with its slashes, or nothing.
std::string_view authority(std::string_view text, const URLLayout& layout) {
  if (!layout.hasAuthority()) return {};
  const std::size_t begin = layout.scheme.isPresent ? layout.scheme.count + 1 : 0;
  return text.substr(begin, layout.path.offset - begin);
}

/// A path that would be read as something else where it stands gets a dot segment in front (RFC 3986, 4.2
/// and the errata to 5.3).
std::string guarded(std::string path, bool hasScheme, bool hasAuthority) {
  if (hasAuthority) return path;
  if (path.starts_with("//")) return "/." + path;
  if (!hasScheme && path.substr(0, path.find('/')).find(':') != std::string::npos) return "./" + path;
  return path;
}

void appendIfPresent(std::string& result, char mark, const URLRange& range, std::string_view text) {
  if (range.isPresent) result.append(1, mark).append(range.of(text));
}

}  // namespace

std::optional<URLLayout> URLLayout::parse(std::string_view text) {
  URLParser parser(text);
  if (!parser.parse()) return std::nullopt;
  return parser.layout();
}

std::string urlProblem(std::string_view text) {
  const ConvertedIRI converted = uriOfIRI(text);
  std::string problem = converted.problem;
  if (problem.empty()) {
    URLParser parser(converted.uri);
    parser.parse();
    problem = parser.problem();
  }
  if (problem.empty()) return "";
  return '"' + withoutUserInformation(text) + "\" is not a URL: " + problem;
}

std::string resolvedURL(std::string_view base, const URLLayout& baseLayout, std::string_view reference,
                        const URLLayout& layout) {
  const bool ownScheme = layout.scheme.isPresent;
  const bool ownAuthority = ownScheme || layout.hasAuthority();
  const bool hasScheme = ownScheme || baseLayout.scheme.isPresent;
  const bool hasAuthority = ownAuthority ? layout.hasAuthority() : baseLayout.hasAuthority();
  const std::string_view path = layout.path.of(reference);
  const bool isSameDocumentPath = !ownAuthority && path.empty();

  std::string result;
  if (hasScheme) result.append(ownScheme ? layout.scheme.of(reference) : baseLayout.scheme.of(base)).append(":");
  result.append(ownAuthority ? authority(reference, layout) : authority(base, baseLayout));
  if (isSameDocumentPath) {
    result.append(baseLayout.path.of(base));
  } else if (ownAuthority || path.starts_with('/')) {
    result.append(guarded(withoutDotSegments(path), hasScheme, hasAuthority));
  } else {
    result.append(guarded(withoutDotSegments(mergedPath(base, baseLayout, path)), hasScheme, hasAuthority));
  }
  const bool takesBaseQuery = isSameDocumentPath && !layout.query.isPresent;
  appendIfPresent(result, '?', takesBaseQuery ? baseLayout.query : layout.query, takesBaseQuery ? base : reference);
  appendIfPresent(result, '#', layout.fragment, reference);
  return result;
}

}  // namespace platform::detail
