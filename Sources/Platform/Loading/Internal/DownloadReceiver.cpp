#include "Platform/Loading/Internal/DownloadReceiver.hpp"

#include <string>
#include <utility>

#include "Platform/Foundation/Detail/ASCII.hpp"
#include "Platform/Loading/Internal/ContentRange.hpp"
#include "Platform/Loading/Internal/PartialFile.hpp"
#include "Platform/Loading/Internal/StrongValidator.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

using Verdict = DownloadReceiver::Verdict;

namespace {

Verdict refusal(std::int32_t code, std::string message) {
  return {Verdict::Kind::refuse, LoadFailure{code, std::move(message)}};
}

bool hasContentCoding(const HTTPURLResponse& response) {
  const auto coding = response.value("Content-Encoding");
  return coding && !coding->empty() && !equalsIgnoringCase(*coding, "identity");
}

std::optional<ContentRange> contentRange(const HTTPURLResponse& response) {
  const auto values = response.allHeaderFields().values("Content-Range");
  return values.size() == 1 ? ContentRange::parse(values.front()) : std::nullopt;
}

std::string quotedRange(const HTTPURLResponse& response) {
  return "\"" + response.value("Content-Range").value_or("") + "\"";
}

std::optional<std::string> obstacleToResuming(const URLRequest& request) {
  if (request.httpMethod != "GET") return "only a GET can be resumed, not a " + request.httpMethod;
  if (request.allHTTPHeaderFields.contains("Range"))
    return "a download that can be resumed asks for ranges itself: leave out the Range";
  return std::nullopt;
}

}  // namespace

DownloadReceiver::~DownloadReceiver() { end(); }

std::optional<LoadFailure> DownloadReceiver::begin(const URLRequest& original, std::unique_ptr<URLRequest>& request) {
  if (!options_.destination) return std::nullopt;
  hasRange_ = original.allHTTPHeaderFields.contains("Range");
  if (!options_.destination->resumes) {
    fresh_ = DownloadFile(options_);
    return fresh_.open();
  }
  if (auto obstacle = obstacleToResuming(original)) return LoadFailure{URLErrorCode::badURL, *std::move(obstacle)};
  auto partial = std::make_shared<PartialFile>(options_, original.url);
  if (auto failure = partial->open()) return failure;
  partial_ = std::move(partial);
  request = std::make_unique<URLRequest>(original);
  // A range is one of what is sent (RFC 9110, 14.1.1), so that must be the file itself.
  request->allHTTPHeaderFields.set("Accept-Encoding", "identity");
  if (!partial_->kept()) return std::nullopt;
  asksForRest_ = true;
  request->allHTTPHeaderFields.set("Range", "bytes=" + std::to_string(partial_->kept()->length) + "-");
  request->allHTTPHeaderFields.set("If-Range", partial_->kept()->validator);
  if (partial_->wantsDigest()) unhashed_ = partial_;
  return std::nullopt;
}

void DownloadReceiver::keptWasHashed(SHA256Hasher hasher) {
  unhashed_.reset();
  partial_->goOnFrom(std::move(hasher));
}

Verdict DownloadReceiver::judge(const HTTPURLResponse& response) {
  isForDestination_ = options_.isForDestination(response);
  // A digest is not that of a body that tells of an error.
  if (!isForDestination_) other_ = DownloadOptions::isContent(response) ? DownloadFile(options_) : DownloadFile();
  const bool isPart = response.statusCode() == 206;
  if (isPart && isForDestination_ && !hasRange_ && !asksForRest_)
    return refusal(URLErrorCode::cannotParseResponse, "the server sent a part of the file; the whole was asked for");
  if (!partial_) return {};
  if (isPart) return judgePart(response);
  if (response.statusCode() == 416 && asksForRest_) return judgeUnsatisfiable(response);
  return isForDestination_ ? startOver(response) : Verdict();
}

Verdict DownloadReceiver::judgePart(const HTTPURLResponse& response) {
  const PartialRecord& kept = *partial_->kept();
  if (response.mimeType() == "multipart/byteranges")
    return refusal(URLErrorCode::cannotParseResponse, "the server sent several ranges; one was asked for");
  if (hasContentCoding(response))
    return refusal(URLErrorCode::cannotDecodeRawData,
                   "the server encoded a part of the file; it was to be sent as it is");
  const auto range = contentRange(response);
  if (!range || !range->span)
    return refusal(URLErrorCode::cannotParseResponse, "a Content-Range is needed, not " + quotedRange(response));
  // A server that does not know "If-Range" sends the rest of another file than the one whose beginning is there.
  const bool hasOtherLength = kept.total && range->total && *kept.total != *range->total;
  if (hasOtherLength || contradicts(response.allHeaderFields(), kept.validator)) return askForAll();
  if (range->span->first != kept.length) {
    return refusal(URLErrorCode::cannotParseResponse, "the rest from byte " + std::to_string(kept.length) +
                                                          " was asked for, not " + quotedRange(response));
  }
  const auto total = range->total ? range->total : kept.total;
  if (!total) return askForAll();  // nothing would tell whether more is missing
  return goOn(range->span->last + 1, total);
}

Verdict DownloadReceiver::judgeUnsatisfiable(const HTTPURLResponse& response) {
  const PartialRecord& kept = *partial_->kept();
  const auto range = contentRange(response);
  const bool isComplete =
      range && !range->span && range->total == kept.length && kept.total.value_or(kept.length) == kept.length;
  if (!isComplete || contradicts(response.allHeaderFields(), kept.validator)) return askForAll();
  isForDestination_ = true;
  const Verdict verdict = goOn(kept.length, kept.length);
  return verdict.failure ? verdict : Verdict{Verdict::Kind::complete};
}

Verdict DownloadReceiver::goOn(std::int64_t end, std::optional<std::int64_t> total) {
  if (auto failure = partial_->goOn()) return {Verdict::Kind::refuse, std::move(failure)};
  bytesBefore_ = partial_->kept()->length;
  total_ = total;
  end_ = end;
  return {};
}

Verdict DownloadReceiver::startOver(const HTTPURLResponse& response) {
  std::optional<std::string> validator;
  // What is decoded here is another sequence of bytes than the one that a range would be of.
  if (response.statusCode() == 200 && !hasContentCoding(response))
    validator = strongValidator(response.allHeaderFields());
  const std::int64_t length = response.expectedContentLength();
  total_ = validator && length >= 0 ? std::optional(length) : std::nullopt;
  end_.reset();
  bytesBefore_ = 0;
  if (auto failure = partial_->startOver(validator, total_)) return {Verdict::Kind::refuse, std::move(failure)};
  return {};
}

/// The request for the whole has no condition, so this happens once.
Verdict DownloadReceiver::askForAll() {
  asksForRest_ = false;
  return {Verdict::Kind::sendAgain};
}

std::int64_t DownloadReceiver::bytesThere(std::int64_t received) const {
  if (!partial_) return received;
  if (isForDestination_) return bytesBefore_ + received;
  return partial_->kept() ? partial_->kept()->length : 0;
}

std::int64_t DownloadReceiver::bytesInAll(std::int64_t announced) const {
  if (!partial_) return announced;
  if (isForDestination_) return announced < 0 ? announced : bytesBefore_ + announced;
  return partial_->kept() ? partial_->kept()->total.value_or(-1) : -1;
}

std::variant<BodySink*, LoadFailure> DownloadReceiver::sink() {
  if (isForDestination_ && partial_) return partial_.get();
  if (isForDestination_) return &fresh_;
  if (auto failure = other_.open()) return *std::move(failure);
  return &other_;
}

std::variant<TemporaryFile, LoadFailure> DownloadReceiver::complete() {
  if (isForDestination_ && partial_) {
    if (auto failure = partial_->finish(total_, end_)) return *std::move(failure);
    return partial_->release();
  }
  DownloadFile& file = isForDestination_ ? fresh_ : other_;
  if (!file.isOpen()) {  // there was no body
    if (auto failure = file.open()) return *std::move(failure);
  }
  if (auto failure = file.finish()) return *std::move(failure);
  return file.release();
}

void DownloadReceiver::end() noexcept {
  if (partial_) partial_->leave();
  partial_.reset();
  unhashed_.reset();
  fresh_ = DownloadFile();
  other_ = DownloadFile();
}

std::shared_ptr<const HTTPURLResponse> asComplete(const HTTPURLResponse& response) {
  HTTPHeaderFields fields = response.allHeaderFields();
  for (const char* name : {"Content-Range", "Content-Length", "Content-Type", "Content-Encoding"}) fields.remove(name);
  return std::make_shared<HTTPURLResponse>(response.url(), 200, response.httpVersion(), std::move(fields));
}

URLRequest withoutRange(URLRequest request) {
  request.allHTTPHeaderFields.remove("Range");
  request.allHTTPHeaderFields.remove("If-Range");
  return request;
}

}  // namespace platform::detail
