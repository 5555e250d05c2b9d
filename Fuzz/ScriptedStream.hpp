#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "CorvaneTesting/Internal/Event.hpp"
#include "CorvaneTesting/Internal/Stream.hpp"
#include "FuzzInput.hpp"

namespace platform::fuzz {

/// Bytes that arrive in pieces from no socket, then the end of the stream.
class ScriptedStream final : public corvane::testkit::detail::Stream {
 public:
  ScriptedStream(std::string_view bytes, std::uint32_t seed)
      : Stream(corvane::testkit::detail::Descriptor(), neverRaised()), pieces_(bytes, seed) {}

  std::size_t read(char* buffer, std::size_t size) override {
    if (piece_.empty()) piece_ = pieces_.next();
    const std::size_t count = piece_.copy(buffer, size);
    piece_.remove_prefix(count);
    return count;
  }

 private:
  static const corvane::testkit::detail::Event& neverRaised() {
    static const corvane::testkit::detail::Event event;
    return event;
  }

  Pieces pieces_;
  std::string_view piece_;
};

}  // namespace platform::fuzz
