#pragma once

#include <curl/curl.h>

#include <string>

#include "Platform/Trap.hpp"

namespace platform::detail {

template <class Value>
void setOption(CURL* handle, CURLoption option, Value value) {
  const CURLcode result = curl_easy_setopt(handle, option, value);
  if (result != CURLE_OK) {
    trap("libcurl refused option " + std::to_string(option) + ": " + curl_easy_strerror(result));
  }
}

}  // namespace platform::detail
