#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/Internal/AdmissionQueue.hpp"
#include "Platform/Loading/Internal/BodySink.hpp"
#include "Platform/Loading/Internal/BodySource.hpp"
#include "Platform/Loading/Internal/ContentDecoder.hpp"
#include "Platform/Loading/Internal/LoopClock.hpp"
#include "Platform/Loading/Internal/ResponseHead.hpp"
#include "Platform/Loading/Internal/TrustGate.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace platform::detail {

class ConnectionPool;
class Exchange;
struct TransportFailure;

/// What an exchange came to.
struct ExchangeOutcome {
  /// Null when the head did not arrive completely.
  std::shared_ptr<const HTTPURLResponse> response;
  /// Decoded; what had arrived when it failed.
  Data body;
  std::optional<Error> error;
  /// It failed because no network leads to the host, and nothing was sent.
  bool lacksConnectivity = false;
};

/// Who an exchange is made for. Loop side.
class ExchangeOwner : public AdmissionEntry {
 public:
  virtual ~ExchangeOwner() = default;
  /// What to send; stays as it is until the exchange ended or was withdrawn.
  virtual const URLRequest& requestToSend() const = 0;
  /// What the body is read from; null when it is in the request, or there is none. Stays as `requestToSend` does.
  virtual BodySource* bodySource() = 0;
  /// Whether the exchange moves files, for which big pieces pay.
  virtual bool movesFiles() const = 0;
  /// The final head is here; whether the body is wanted.
  virtual bool wantsBody(const std::shared_ptr<const HTTPURLResponse>& response) = 0;
  /// What takes the wanted body: a null sink leaves it to the exchange, which keeps it in memory.
  virtual std::variant<BodySink*, LoadFailure> bodySink() = 0;
  /// How many bytes of the wanted body will come, as they come over the network; -1 when that is not known.
  virtual void bodyAnnounced(std::int64_t count) = 0;
  /// How many bytes of the request's or of the wanted body went over the network so far.
  virtual void bodySent(std::int64_t count) = 0;
  virtual void bodyReceived(std::int64_t count) = 0;
  /// Once, at the end.
  virtual void exchangeEnded(ExchangeOutcome outcome) = 0;

  /// The exchange under way; kept by the pool.
  Exchange* exchange = nullptr;
};

/// One request and one answer on a libcurl handle, with the checks that make a success mean a complete one.
/// Recycled: options that never change are set once, when the handle is made. Loop side only.
///
/// In three files: ExchangeRequest.cpp writes the request, ExchangeSending.cpp sends a long body, Exchange.cpp has the
/// rest.
class Exchange final : public DeadlineEntry, private TrustGateOwner {
 public:
  /// Bytes of an unwanted body that are read to keep the connection; beyond that it is cheaper to close it.
  static constexpr std::size_t discardLimit = 64 * 1024;

  explicit Exchange(ConnectionPool& pool);
  ~Exchange();
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  /// Writes the request into the handle. Fails with the transport's message when it is refused.
  std::optional<Error> prepare(ExchangeOwner& owner);
  /// Whether the request is to be sent once more, now that libcurl is done with it: it chose a connection that is not
  /// to be used, and sent nothing; or a kept connection broke, and the request may be repeated.
  bool mustRestart(CURLcode result) const;
  void prepareRestart();
  /// The verdict after libcurl said it is done.
  ExchangeOutcome finish(CURLcode result);
  /// The outcome of an exchange that we end ourselves.
  ExchangeOutcome abandon(Error error);
  /// Whether another exchange may follow on the handle: libcurl counts the times that it repeats a request over a
  /// handle's life, not for each request, and gives up at five.
  bool isReusable() const { return wentStraight_; }
  /// Lets go of everything that belongs to one exchange.
  void recycle();

  CURL* handle() const { return handle_; }
  ExchangeOwner& owner() const { return *owner_; }
  const URLRequest& request() const { return *request_; }
  bool isHeld() const { return gate_ && gate_->isUndecided(); }
  const std::shared_ptr<TrustGate>& gate() const { return gate_; }

  // While a body is sent in pieces, the server may say something. What it said is read before anything more is sent.

  /// Whether a body is sent in pieces.
  bool isSending() const { return source_ != nullptr; }
  /// Whether the final answer came early and does not want the rest of the body.
  bool isRefused() const { return isSending() && response_ && response_->statusCode() >= 300; }
  void holdSending();
  void continueSending();
  /// The connection is about to be closed: keeps what the server said and nobody read.
  void keepUnread(int descriptor);

  /// Something moved on this exchange's connection.
  void touch(LoopTime now) { postpone(now + timeout_); }
  LoopTime timeout() const { return timeout_; }
  /// Whether a connection was ready for the request, so that the server may have got it.
  bool wasSent() const { return starts_ > 0; }
  /// The sockets that were opened for this exchange, some of which may be closed by now.
  const std::vector<int>& opened() const { return opened_; }
  /// Why no connection can be made here, as the system says.
  void noteSystemError(int number) { systemError_ = number; }
  /// The descriptor whose readiness concerns this exchange; -1 while there is none.
  int socket = -1;
  /// Where the exchange stands in the pool's table of active ones.
  std::size_t slot = 0;

 private:
  static std::size_t receiveHeaderLine(char* bytes, std::size_t size, std::size_t count, void* self);
  static std::size_t receiveBody(char* bytes, std::size_t size, std::size_t count, void* self);
  static std::size_t readBody(char* room, std::size_t size, std::size_t count, void* self);
  static int seekBody(void* self, curl_off_t offset, int origin);
  static int connectionReady(void* self, char* primary, char* local, int primaryPort, int localPort);
  static int progressed(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent);
  static curl_socket_t openSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
  static CURLcode prepareTLS(CURL* handle, void* context, void* self);

  void setConstantOptions();
  bool setURL();
  void setMethodAndBody();
  void setBody();
  void setBuffers();
  bool setHeaders();
  bool headComplete();
  std::int64_t bodyLimit() const;
  std::optional<LoadFailure> store(Bytes bytes);
  bool acceptBody(const std::byte* bytes, std::size_t count);
  bool hasUnreadAnswer() const;
  bool takesNoMore();
  bool takeLeftAnswer();
  bool takeLeftBody(std::string_view left);
  bool isAnswerComplete() const;
  bool lostKeptConnection() const;
  bool mayStartAgain();
  TransportFailure failureOf(CURLcode result) const;
  void gateClosed(std::shared_ptr<TrustGate> gate) override;
  bool fail(std::int32_t code, std::string message);
  bool fail(LoadFailure failure);
  void checkCompleteness();

  ConnectionPool& pool_;
  CURL* handle_;
  CURLU* url_;
  std::string urlText_;
  std::vector<curl_slist> headerNodes_;
  std::string headerText_;
  bool sendsBody_ = false;
  std::optional<MemoryBody> memoryBody_;
  BodySource* source_ = nullptr;  ///< of a body that is sent in pieces
  std::string unread_;            ///< what a plain connection that broke had left
  bool forbidsReuse_ = false;
  long bufferBytes_ = 0;
  char errorText_[CURL_ERROR_SIZE];

  ExchangeOwner* owner_ = nullptr;
  const URLRequest* request_ = nullptr;
  ResponseHead head_;
  std::shared_ptr<const HTTPURLResponse> response_;
  std::unique_ptr<ContentDecoder> decoder_;
  BodySink* sink_ = nullptr;
  Data body_;
  std::int64_t received_ = 0;
  bool wantsBody_ = true;
  bool endedByUs_ = false;  ///< an unwanted body was too long to be read
  curl_off_t sent_ = 0;
  int starts_ = 0;                     ///< how often a connection was ready for the request
  bool startedOnMultiplexed_ = false;  ///< the last of these connections is shared by several exchanges at a time
  bool mustRestart_ = false;
  bool wentStraight_ = false;  ///< it ended well, and nothing was repeated
  std::vector<int> opened_;
  int systemError_ = 0;
  std::shared_ptr<TrustGate> gate_;
  std::optional<Error> failure_;
  LoopTime timeout_ = 0;
};

}  // namespace platform::detail
