#include "Corvane/Transfers/HTTPFormData.hpp"

#include <algorithm>
#include <functional>
#include <string_view>

#include "Corvane/Transfers/MultipartError.hpp"
#include "Platform/Foundation/UUID.hpp"
#include "Platform/Trap.hpp"

namespace corvane {

using platform::Data;
using platform::URLBodyStream;

namespace {

/// The 122 random bits of a UUID, and more than 50 of another one; at most 70 characters (RFC 2046, 5.1.1).
std::string randomBoundary() {
  std::string text = platform::UUID().uuidString() + platform::UUID().uuidString().substr(0, 18);
  std::erase(text, '-');
  return "corvane-form-" + text;
}

bool isBoundary(std::string_view text) {
  constexpr std::string_view others = "'()+_,-./:=?";
  return !text.empty() && text.size() <= 70 && std::all_of(text.begin(), text.end(), [&](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || others.find(c) != others.npos;
  });
}

/// Most of the characters that boundaries may have belong in quotes there (RFC 2045, 5.1).
bool needsQuotes(std::string_view boundary) { return boundary.find_first_of("()/:=?,") != std::string_view::npos; }

}  // namespace

HTTPFormData::HTTPFormData() : boundary_(randomBoundary()) {}

HTTPFormData::HTTPFormData(std::initializer_list<HTTPFormPart> parts) : HTTPFormData() {
  parts_.reserve(parts.size());
  for (const HTTPFormPart& part : parts) append(part);
}

HTTPFormData HTTPFormData::withBoundary(std::string boundary) {
  if (!isBoundary(boundary)) throw MultipartError::invalidBoundary(std::move(boundary));
  HTTPFormData form;
  form.boundary_ = std::move(boundary);
  form.isBoundaryRandom_ = false;
  return form;
}

void HTTPFormData::append(HTTPFormPart part) {
  if (!isBoundaryRandom_ && isBoundaryIn(part)) throw MultipartError::boundaryInContent(part.name());
  parts_.push_back(std::move(part));
  // It takes a value that was made of the form's own boundary.
  const auto occurs = [this](const HTTPFormPart& one) { return isBoundaryIn(one); };
  while (isBoundaryRandom_ && occurs(parts_.back())) {
    do {
      boundary_ = randomBoundary();
    } while (std::any_of(parts_.begin(), parts_.end(), occurs));
  }
}

bool HTTPFormData::isBoundaryIn(const HTTPFormPart& part) const {
  if (!part.bytes()) return false;
  const std::string_view text = part.bytes()->view();
  return std::search(text.begin(), text.end(),
                     std::boyer_moore_horspool_searcher(boundary_.begin(), boundary_.end())) != text.end();
}

HTTPMediaType HTTPFormData::contentType() const {
  return HTTPMediaType("multipart/form-data; boundary=" + (needsQuotes(boundary_) ? '"' + boundary_ + '"' : boundary_));
}

bool HTTPFormData::isInMemory() const {
  return std::all_of(parts_.begin(), parts_.end(), [](const HTTPFormPart& part) { return part.bytes() != nullptr; });
}

std::string HTTPFormData::linesBefore(std::size_t place) const {
  const std::string delimiter = (place == 0 ? "--" : "\r\n--") + boundary_;
  if (place == parts_.size()) return delimiter + "--\r\n";
  return delimiter + "\r\n" + parts_[place].head() + "\r\n";
}

std::shared_ptr<URLBodyStream> HTTPFormData::bodyStream() const {
  if (isInMemory()) return nullptr;
  std::vector<std::shared_ptr<URLBodyStream>> streams;
  for (std::size_t place = 0; place < parts_.size(); ++place) {
    streams.push_back(URLBodyStream::ofData(linesBefore(place)));
    streams.push_back(parts_[place].bodyStream());
  }
  streams.push_back(URLBodyStream::ofData(linesBefore(parts_.size())));
  return URLBodyStream::joined(std::move(streams));
}

Data HTTPFormData::asData() const {
  if (!isInMemory()) platform::trap("A form with a file or a producer was asked for its bytes in memory");
  Data form;
  for (std::size_t place = 0; place < parts_.size(); ++place) {
    form.append(linesBefore(place));
    form.append(parts_[place].bytes()->span());
  }
  form.append(linesBefore(parts_.size()));
  return form;
}

}  // namespace corvane
