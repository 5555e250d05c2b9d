#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <utility>

#include "Platform/Loading/Detail/ExchangeSources.hpp"
#include "Platform/Loading/Internal/ExchangeSource.hpp"
#include "Platform/Loading/Internal/SourcedConnection.hpp"
#include "Platform/Loading/Internal/TappedBody.hpp"

namespace platform::detail {

class HTTPLoad;

/// Asks one source after the other who responds to a load.
class SourceQuestion : public std::enable_shared_from_this<SourceQuestion> {
 public:
  SourceQuestion(networking::EventLoop& loop, HTTPLoad& load, std::shared_ptr<const ExchangeSources> sources,
                 SourcedRequest request);

  // Loop side.
  void begin() { askNext(); }
  /// The load is over; nobody wants to know any more.
  void drop() { load_ = nullptr; }

 private:
  // Any thread, one at a time.
  void askNext();
  void decided(SourceDecision decision);

  networking::EventLoop& loop_;
  HTTPLoad* load_;  ///< loop side
  const std::shared_ptr<const ExchangeSources> sources_;
  const std::shared_ptr<const SourcedRequest> request_;
  std::size_t asked_ = 0;
  std::shared_ptr<ExchangeTap> tap_;
};

/// What a load has in addition while something stands between it and the network. Loop side.
struct SourcedLoad {
  ~SourcedLoad() {
    if (question) question->drop();
  }

  std::shared_ptr<SourceQuestion> question;
  /// Where a source responds.
  std::shared_ptr<SourcedConnection> connection;
  /// Where the network does, and somebody listens.
  std::shared_ptr<ExchangeTap> tap;
  std::optional<TappedBody> body;
  /// A source decided on a failure: the network of this machine has nothing to do with it.
  bool isFailure = false;
};

}  // namespace platform::detail
