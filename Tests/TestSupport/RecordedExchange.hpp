#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Networking/RequestStream.hpp"

namespace corvane::testkit {

using Fields = std::vector<std::pair<std::string, std::string>>;

/// A request as a test writes it, and all that a connection told of its response.
class RecordedExchange final : public platform::networking::RequestStream {
 public:
  explicit RecordedExchange(std::string method = "GET", std::string target = "/");
  /// Its address is what a connection knows it by.
  RecordedExchange(const RecordedExchange&) = delete;
  RecordedExchange& operator=(const RecordedExchange&) = delete;

  // The request.
  RecordedExchange& with(std::string name, std::string value);
  /// The body, and its length as what is announced; `isAnnounced` false: nothing is.
  RecordedExchange& with(platform::networking::RequestBody& body, bool isAnnounced = true);
  std::optional<std::uint64_t> contentLength;

  // What to do when told. Each may be left out.
  std::function<void()> onBegan;
  std::function<platform::networking::BodyDisposition()> onHead;
  std::function<bool(std::string_view)> onBody;
  std::function<void()> onTrailers;
  std::function<void()> onOutcome;

  // What was told.
  int begun = 0;
  int progress = 0;
  int requestsEnded = 0;
  std::uint64_t sent = 0;
  int heads = 0;
  int status = 0;
  std::int64_t bodyLength = -2;
  bool hasBody = false;
  Fields fields;
  std::string received;
  Fields trailing;
  int ends = 0;
  std::optional<platform::networking::ExchangeFailure> failure;
  /// How often `end` or `failed` was told.
  int outcomes = 0;

  bool hasEnded() const { return ends == 1 && outcomes == 1; }
  std::string field(std::string_view name) const;

  const platform::networking::RequestHead& requestHead() const override { return head_; }
  platform::networking::RequestBody* requestBody() override { return body_; }
  void requestBegan(std::size_t) override;
  void bodySent(std::uint64_t total) override { sent = total; }
  void requestEnded() override { ++requestsEnded; }
  void progressed() override { ++progress; }
  platform::networking::BodyDisposition head(const platform::networking::ResponseHeadView& head) override;
  bool body(platform::networking::Bytes bytes) override;
  void trailers(std::span<const platform::networking::FieldView> fields) override;
  void end() override;
  void failed(platform::networking::ExchangeFailure failure) override;

 private:
  void rebuild();

  std::string method_;
  std::string target_;
  Fields requestFields_;
  std::vector<platform::networking::FieldView> views_;
  platform::networking::RequestHead head_;
  platform::networking::RequestBody* body_ = nullptr;
};

/// A body of text, given in pieces: what was not `give`n yet is pending.
class ScriptedBody final : public platform::networking::RequestBody {
 public:
  /// All of it at once. `isPeekable`: it can be sent from where it is.
  explicit ScriptedBody(std::string text, bool isPeekable = false);
  /// Nothing yet.
  ScriptedBody() = default;

  void give(std::string_view text) { text_ += text; }
  void finish() { isFinished_ = true; }
  void failNext() { fails_ = true; }
  /// How often it was asked.
  int asked() const { return asked_; }
  std::size_t taken() const { return taken_; }

  std::optional<std::uint64_t> length() const override;
  bool rewind() override;
  platform::networking::Bytes peek() override;
  void advance(std::size_t count) override { taken_ += count; }
  platform::networking::BodyRead read(std::span<std::byte> room) override;

 private:
  std::string text_;
  bool isFinished_ = false;
  bool isPeekable_ = false;
  bool fails_ = false;
  std::size_t taken_ = 0;
  int asked_ = 0;
};

}  // namespace corvane::testkit
