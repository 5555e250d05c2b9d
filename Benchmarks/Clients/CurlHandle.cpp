#include "Clients/CurlHandle.hpp"

#include <cstring>
#include <stdexcept>

namespace bench {

CurlHandle::CurlHandle(const Task& task)
    : expectedBytes_(task.bodyBytes), isHTTP2_(task.wire == Wire::http2), easy_(curl_easy_init()) {
  for (const RequestField& field : requestFields) {
    fields_ = curl_slist_append(fields_, (std::string(field.name) + ": " + field.value).c_str());
  }
  curl_easy_setopt(easy_, CURLOPT_URL, task.url().c_str());
  curl_easy_setopt(easy_, CURLOPT_HTTPHEADER, fields_);
  curl_easy_setopt(easy_, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy_, CURLOPT_WRITEFUNCTION, &CurlHandle::write);
  curl_easy_setopt(easy_, CURLOPT_WRITEDATA, this);
  curl_easy_setopt(easy_, CURLOPT_PRIVATE, this);
  if (task.isSecure()) {
    // One file and no directory: only so does libcurl keep the parsed anchors from one connection to the next.
    curl_easy_setopt(easy_, CURLOPT_CAINFO, (task.certificateFolder + "/anchors.pem").c_str());
    curl_easy_setopt(easy_, CURLOPT_CAPATH, nullptr);
    curl_easy_setopt(easy_, CURLOPT_SSL_SESSIONID_CACHE, task.wire == Wire::resumed ? 1L : 0L);
  }
  if (task.wire == Wire::http2) {
    curl_easy_setopt(easy_, CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_2TLS});
    // One connection for all: without it, each transfer that begins before the first handshake ended opens its own.
    curl_easy_setopt(easy_, CURLOPT_PIPEWAIT, 1L);
  }
}

CurlHandle::~CurlHandle() {
  curl_easy_cleanup(easy_);
  curl_slist_free_all(fields_);
}

void CurlHandle::verify(CURLcode code) {
  if (code != CURLE_OK) throw std::runtime_error(curl_easy_strerror(code));
  long status = 0;
  curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
  long version = 0;
  curl_easy_getinfo(easy_, CURLINFO_HTTP_VERSION, &version);
  const bool isRight = status == 200 && bodyBytes_ == expectedBytes_ && (version == CURL_HTTP_VERSION_2_0) == isHTTP2_;
  if (!isRight) throw std::runtime_error("The response is not the expected one");
  bodyBytes_ = 0;
  body_.reset();
}

std::size_t CurlHandle::write(const char* bytes, std::size_t size, std::size_t count, void* handle) {
  return static_cast<CurlHandle*>(handle)->keep(bytes, size * count) ? size * count : 0;
}

bool CurlHandle::keep(const char* bytes, std::size_t count) {
  if (!body_) {
    curl_off_t announced = 0;
    curl_easy_getinfo(easy_, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
    if (announced != static_cast<curl_off_t>(expectedBytes_)) return false;
    body_.reset(new char[expectedBytes_]);
  }
  if (count > expectedBytes_ - bodyBytes_) return false;
  std::memcpy(body_.get() + bodyBytes_, bytes, count);
  bodyBytes_ += count;
  return true;
}

}  // namespace bench
