#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "Platform/Networking/HTTP2/HTTP2Stream.hpp"

namespace platform::networking {

/// The streams of a connection, used again and again.
class HTTP2StreamTable {
 public:
  HTTP2StreamTable() = default;
  HTTP2StreamTable(const HTTP2StreamTable&) = delete;
  HTTP2StreamTable& operator=(const HTTP2StreamTable&) = delete;

  /// Attached to the exchange.
  HTTP2Stream& acquire(RequestStream& exchange);
  /// The session has closed it. Requires: it is detached.
  void release(HTTP2Stream& stream);
  /// The attached stream of an exchange; null when there is none.
  HTTP2Stream* find(const RequestStream& exchange) const;
  /// An attached stream whose number is greater; null when there is none.
  HTTP2Stream* beyond(std::int32_t id) const;
  /// Any attached stream; null when there is none.
  HTTP2Stream* last() const { return attached_.empty() ? nullptr : attached_.back(); }

  /// How many are attached to an exchange.
  std::size_t attached() const { return attached_.size(); }
  /// How many are not released.
  std::size_t open() const { return all_.size() - free_.size(); }

 private:
  friend class HTTP2Stream;
  void detach(HTTP2Stream& stream);

  std::vector<std::unique_ptr<HTTP2Stream>> all_;
  std::vector<HTTP2Stream*> free_;
  std::vector<HTTP2Stream*> attached_;
};

}  // namespace platform::networking
