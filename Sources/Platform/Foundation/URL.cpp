#include "Platform/Foundation/URL.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ostream>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/Internal/IRI.hpp"
#include "Platform/Foundation/Internal/PercentEncoding.hpp"
#include "Platform/Foundation/Internal/URLLayout.hpp"

namespace platform {

namespace {

using detail::CharacterSet;
using detail::percentDecoded;
using detail::percentEncoded;
using detail::URLLayout;
using detail::URLRange;

std::optional<std::string> decoded(const URLRange& range, std::string_view text) {
  if (!range.isPresent) return std::nullopt;
  return percentDecoded(range.of(text));
}

std::string currentDirectory() {
  std::string path(256, '\0');
  while (::getcwd(path.data(), path.size()) == nullptr) {
    if (errno != ERANGE) throw Error("NSPOSIXErrorDomain", errno, "The current directory cannot be told");
    path.resize(path.size() * 2);
  }
  path.resize(path.find('\0'));
  return path;
}

/// The last segment that is not empty; "/" when there are only slashes.
std::string_view lastSegment(std::string_view path) {
  const std::size_t last = path.find_last_not_of('/');
  if (last == std::string_view::npos) return path.substr(0, 1);
  path = path.substr(0, last + 1);
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

}  // namespace

struct URL::Parts {
  std::string text;
  std::shared_ptr<const Parts> base;
  /// Of the text resolved against the base; empty when there is no base.
  std::string resolved;
  /// Of the absolute text.
  URLLayout layout;

  const std::string& absolute() const { return base != nullptr ? resolved : text; }
};

std::shared_ptr<const URL::Parts> URL::makeParts(std::string_view text, std::shared_ptr<const Parts> base) {
  if (!detail::isASCII(text)) {
    const auto converted = detail::uriOfIRI(text);
    return converted.problem.empty() ? makeParts(converted.uri, std::move(base)) : nullptr;
  }
  auto layout = URLLayout::parse(text);
  if (!layout) return nullptr;
  auto parts = std::make_shared<Parts>();
  parts->text = text;
  parts->layout = *layout;
  if (base == nullptr) return parts;
  parts->resolved = detail::resolvedURL(base->absolute(), base->layout, text, *layout);
  layout = URLLayout::parse(parts->resolved);
  if (!layout) return nullptr;
  parts->layout = *layout;
  parts->base = std::move(base);
  return parts;
}

std::shared_ptr<const URL::Parts> URL::requireParts(std::string_view text, std::shared_ptr<const Parts> base) {
  auto parts = makeParts(text, std::move(base));
  if (parts == nullptr) throw Error("NSURLErrorDomain", -1000, problem(text));
  return parts;
}

URL::URL(std::string_view text) : parts_(requireParts(text, nullptr)) {}

URL::URL(const char* text) : URL(std::string_view(text)) {}

URL::URL(const std::string& text) : URL(std::string_view(text)) {}

URL::URL(std::string_view text, const URL& base) : parts_(requireParts(text, base.parts_)) {}

URL::~URL() = default;

std::optional<URL> URL::parse(std::string_view text) {
  auto parts = makeParts(text, nullptr);
  if (parts == nullptr) return std::nullopt;
  return URL(std::move(parts));
}

std::optional<URL> URL::parse(std::string_view text, const URL& base) {
  auto parts = makeParts(text, base.parts_);
  if (parts == nullptr) return std::nullopt;
  return URL(std::move(parts));
}

std::string URL::problem(std::string_view text) { return detail::urlProblem(text); }

URL URL::file(std::string_view path) {
  std::string absolute(path);
  if (!path.starts_with('/')) absolute = currentDirectory().append("/").append(path);
  return URL("file://" + percentEncoded(absolute, CharacterSet::path));
}

const std::string& URL::absoluteString() const noexcept { return parts_->absolute(); }

const std::string& URL::relativeString() const noexcept { return parts_->text; }

std::optional<URL> URL::baseURL() const {
  if (parts_->base == nullptr) return std::nullopt;
  return URL(parts_->base);
}

URL URL::absoluteURL() const { return parts_->base == nullptr ? *this : URL(parts_->resolved); }

std::optional<std::string> URL::scheme() const { return parts_->layout.scheme.copy(absoluteString()); }

std::optional<std::string> URL::user() const { return decoded(parts_->layout.user, absoluteString()); }

std::optional<std::string> URL::password() const { return decoded(parts_->layout.password, absoluteString()); }

std::optional<std::string> URL::host() const {
  std::string_view host = parts_->layout.host.of(absoluteString());
  if (host.empty()) return std::nullopt;
  if (host.front() == '[') host = host.substr(1, host.size() - 2);
  return percentDecoded(host);
}

std::optional<std::uint16_t> URL::port() const noexcept { return parts_->layout.portNumber; }

std::string URL::path() const { return percentDecoded(parts_->layout.path.of(absoluteString())); }

std::string URL::percentEncodedPath() const { return std::string(parts_->layout.path.of(absoluteString())); }

std::optional<std::string> URL::query() const { return parts_->layout.query.copy(absoluteString()); }

std::optional<std::string> URL::fragment() const { return decoded(parts_->layout.fragment, absoluteString()); }

std::vector<std::string> URL::pathComponents() const {
  std::vector<std::string> components;
  std::string_view path = parts_->layout.path.of(absoluteString());
  if (path.starts_with('/')) components.emplace_back("/");
  while (!path.empty()) {
    const std::size_t slash = path.find('/');
    if (slash != 0) components.push_back(percentDecoded(path.substr(0, slash)));
    if (slash == std::string_view::npos) break;
    path.remove_prefix(slash + 1);
  }
  return components;
}

std::string URL::lastPathComponent() const {
  return percentDecoded(lastSegment(parts_->layout.path.of(absoluteString())));
}

std::string URL::pathExtension() const {
  const std::string name = lastPathComponent();
  const std::size_t dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0) return "";
  return name.substr(dot + 1);
}

bool URL::isFileURL() const noexcept {
  const std::string_view scheme = parts_->layout.scheme.of(absoluteString());
  constexpr std::string_view file = "file";
  if (scheme.size() != file.size()) return false;
  for (std::size_t index = 0; index < file.size(); ++index) {
    if ((scheme[index] | 0x20) != file[index]) return false;
  }
  return true;
}

URL URL::appendingPathComponent(std::string_view component) const {
  const std::string& text = relativeString();
  const auto layout = parts_->base == nullptr ? parts_->layout : *URLLayout::parse(text);
  component.remove_prefix(std::min(component.find_first_not_of('/'), component.size()));
  const std::size_t pathEnd = layout.path.offset + layout.path.count;
  std::string longer = text.substr(0, pathEnd);
  const bool needsSlash = layout.path.count != 0 ? !longer.ends_with('/') : layout.hasAuthority();
  if (needsSlash) longer += '/';
  const std::string encoded = percentEncoded(component, CharacterSet::path);
  // What follows neither a scheme nor a slash must not look like a scheme (RFC 3986, 4.2).
  if (longer.empty() && encoded.substr(0, encoded.find('/')).find(':') != std::string::npos) longer = "./";
  longer.append(encoded).append(text, pathEnd);
  return URL(requireParts(longer, parts_->base));
}

bool operator==(const URL& left, const URL& right) noexcept {
  const URL::Parts* one = left.parts_.get();
  const URL::Parts* other = right.parts_.get();
  while (one != other) {
    if (one == nullptr || other == nullptr || one->text != other->text) return false;
    one = one->base.get();
    other = other->base.get();
  }
  return true;
}

std::size_t URL::hash() const noexcept { return std::hash<std::string_view>()(relativeString()); }

std::ostream& operator<<(std::ostream& stream, const URL& url) { return stream << url.absoluteString(); }

}  // namespace platform
