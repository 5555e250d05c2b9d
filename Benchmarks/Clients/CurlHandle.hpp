#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <memory>

#include "Clients/Client.hpp"

namespace bench {

/// An easy handle set up the way a careful user of libcurl would: reused, parsed headers left to libcurl,
/// default buffer sizes, the body kept in memory.
class CurlHandle {
 public:
  explicit CurlHandle(const Task& task);
  ~CurlHandle();
  CurlHandle(const CurlHandle&) = delete;
  CurlHandle& operator=(const CurlHandle&) = delete;

  CURL* easy() const { return easy_; }
  /// Throws when the exchange that ended with `code` was not a complete 200.
  void verify(CURLcode code);

 private:
  static std::size_t write(const char* bytes, std::size_t size, std::size_t count, void* handle);
  bool keep(const char* bytes, std::size_t count);

  const std::uint64_t expectedBytes_;
  const bool isHTTP2_;
  CURL* easy_;
  curl_slist* fields_ = nullptr;
  /// Not a string: growing one would clear what libcurl is about to fill.
  std::unique_ptr<char[]> body_;
  std::uint64_t bodyBytes_ = 0;
};

}  // namespace bench
