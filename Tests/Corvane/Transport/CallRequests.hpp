#pragma once

#include <cstdint>
#include <optional>

#include "Corvane/Corvane.hpp"

// Requests without `HTTPRequestCancelable`, for the tests of what bounds a call.

namespace corvane {

struct PlainGet : DataGetRequestable<PlainGet> {
  URL url;
  bool shouldSend = true;
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct PlainDownload : DownloadRequestable<PlainDownload> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// Is sent again after an hour.
struct RetriedGet : DataGetRequestable<RetriedGet>, HTTPRetryAttempting<RetriedGet> {
  URL url;
  double retryInterval = 3600;
  std::int64_t retryLimit = 5;
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// Has its response after an hour.
struct SlowMock : DataGetRequestable<SlowMock>, HTTPMockable<SlowMock> {
  URL baseURL = "https://example.com/items";
  double mockResponseTime = 3600;
  HTTPHeaders sharedHeaders() const { return {}; }
  std::optional<Data> mockResponseData() const { return Data("mock"); }
};

}  // namespace corvane
