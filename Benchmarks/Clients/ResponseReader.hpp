#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "Clients/Client.hpp"

namespace bench {

/// The request of a task as it goes over the wire.
std::string requestText(const Task& task);

/// Follows one response with a Content-Length through the bytes that arrive.
class ResponseReader {
 public:
  /// Takes bytes that arrived in `buffer`; true when the response is complete. Throws when it is not 200, when
  /// its length is not `bodyBytes`, or when bytes follow it.
  bool take(const char* bytes, std::size_t count, std::uint64_t bodyBytes);

 private:
  void takeHead(std::uint64_t bodyBytes);

  std::string head_;
  bool inBody_ = false;
  std::uint64_t remaining_ = 0;
};

}  // namespace bench
