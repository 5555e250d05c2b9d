#include "Platform/Networking/HTTP2/HTTP2StreamTable.hpp"

namespace platform::networking {

HTTP2Stream& HTTP2StreamTable::acquire(RequestStream& exchange) {
  if (free_.empty()) {
    free_.reserve(all_.size() + 1);  // so that `release` needs no memory
    all_.push_back(std::make_unique<HTTP2Stream>(*this));
    free_.push_back(all_.back().get());
  }
  HTTP2Stream& stream = *free_.back();
  free_.pop_back();
  stream.begin(exchange);
  stream.place_ = attached_.size();
  attached_.push_back(&stream);
  return stream;
}

void HTTP2StreamTable::release(HTTP2Stream& stream) { free_.push_back(&stream); }

HTTP2Stream* HTTP2StreamTable::find(const RequestStream& exchange) const {
  for (HTTP2Stream* const stream : attached_) {
    if (stream->exchange() == &exchange) return stream;
  }
  return nullptr;
}

HTTP2Stream* HTTP2StreamTable::beyond(std::int32_t id) const {
  for (HTTP2Stream* const stream : attached_) {
    if (stream->id > id) return stream;
  }
  return nullptr;
}

void HTTP2StreamTable::detach(HTTP2Stream& stream) {
  attached_[stream.place_] = attached_.back();
  attached_[stream.place_]->place_ = stream.place_;
  attached_.pop_back();
}

}  // namespace platform::networking
