#include "CorvaneTesting/Internal/Recorder.hpp"

#include <string>
#include <utility>

#include "Platform/Foundation/Dictionary.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace corvane::testkit::detail {

using platform::Data;
using platform::Error;
using platform::HTTPHeaderFields;
using platform::detail::MutexLock;
using platform::detail::SourcedRequest;

/// Collects one exchange. On the loop.
class Recorder::Tap final : public platform::detail::ExchangeTap {
 public:
  Tap(std::shared_ptr<Recorder> recorder, const SourcedRequest& request)
      : recorder_(std::move(recorder)),
        place_(recorder_->reserve()),
        requestFields_(request.fields),
        url_(request.url.absoluteURL().absoluteString()) {
    record_.method = request.method;
  }

  void requestBody(std::span<const std::byte> bytes, bool begins) override {
    if (begins) record_.requestBody.clear();
    record_.requestBody.append(bytes);
  }
  void responseHead(int status, const HTTPHeaderFields& fields) override {
    record_.status = status;
    record_.responseHeaders = fields;
  }
  void responseBody(std::span<const std::byte> bytes) override { record_.responseBody.append(bytes); }
  void ended(const std::optional<Error>& error) override {
    const HTTPRedaction& redaction = recorder_->redaction_;
    record_.url = redaction.redactedURL(url_);
    record_.requestHeaders = redaction.redacted(requestFields_);
    if (error) {
      record_.error = Error(error->domain(), error->code(), redaction.redactedText(error->message()), kept(*error));
      record_.status = 0;
    } else {
      decode();
    }
    record_.responseHeaders = redaction.redacted(record_.responseHeaders);
    recorder_->keep(place_, std::move(record_));
  }

 private:
  /// Whether to send again depends on it. The rest may hold secrets.
  static platform::Dictionary kept(const Error& error) {
    const platform::Dictionary userInfo = error.userInfo();
    const auto* const wasSent = userInfo.find(platform::URLErrorKey::requestWasSent);
    if (!wasSent) return {};
    return {{platform::URLErrorKey::requestWasSent, *wasSent}};
  }

  /// So that it can be read and edited, however it was transferred.
  void decode() {
    HTTPHeaderFields& fields = record_.responseHeaders;
    if (auto decoded = platform::detail::decodedContent(requestFields_, fields, record_.responseBody)) {
      record_.responseBody = std::move(*decoded);
      fields.remove("Content-Encoding");
    }
    fields.remove("Transfer-Encoding");
    // That of HEAD tells something.
    if (!record_.responseBody.isEmpty()) fields.remove("Content-Length");
  }

  const std::shared_ptr<Recorder> recorder_;
  const std::size_t place_;
  const HTTPHeaderFields requestFields_;
  const std::string url_;
  ExchangeRecord record_;
};

std::shared_ptr<platform::detail::ExchangeTap> Recorder::tap(const SourcedRequest& request) {
  return std::make_shared<Tap>(shared_from_this(), request);
}

std::size_t Recorder::reserve() {
  const MutexLock lock(mutex_);
  records_.emplace_back();
  return records_.size() - 1;
}

void Recorder::keep(std::size_t place, ExchangeRecord record) {
  const MutexLock lock(mutex_);
  records_[place] = std::move(record);
}

ExchangeRecording Recorder::recording() const {
  ExchangeRecording recording{.redaction = redaction_};
  const MutexLock lock(mutex_);
  for (const auto& record : records_) {
    if (record) recording.exchanges.push_back(*record);
  }
  return recording;
}

}  // namespace corvane::testkit::detail
