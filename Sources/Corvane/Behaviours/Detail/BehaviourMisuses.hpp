#pragma once

#include "Corvane/Request/Detail/Misuses.hpp"

/// What takes functions that a behaviour cannot call, to say what they are called with; see `Misuses.hpp`.
namespace corvane::detail {

template <class F, class Function>
concept MeantAs = MeantAsFunction<F> && !std::convertible_to<F, Function>;

template <class Completion>
struct NoRetryCompletion {
  template <MeantAs<Completion> F>
  NoRetryCompletion(F&&) {  // NOLINT(google-explicit-constructor)
    static_assert(isNothing<F>,
                  "The completion of a retrying send is called with the responses of all attempts: write "
                  "`[](HTTPRetryResult<DataResponse> result) { … }` with the request's `Response`");
  }
};

template <class Handler>
struct NoPollingHandler {
  template <MeantAs<Handler> F>
  NoPollingHandler(F&&) {  // NOLINT(google-explicit-constructor)
    static_assert(
        isNothing<F>,
        "A polling handler is called with a request and its response: write `[](const GetNews& request, const "
        "DataResponse& response) { … }` with the polling type and its `Response`");
  }
};

template <class Update>
struct NoUpdate {
  template <MeantAs<Update> F>
  NoUpdate(F&&) {  // NOLINT(google-explicit-constructor)
    static_assert(isNothing<F>,
                  "The update of a batch is called with a request and its response: write `[](const DataGetRequest& "
                  "request, const DataResponse& response) { … }` with the request type and its `Response`");
  }
};

template <class Completion>
struct NoBatchCompletion {
  template <MeantAs<Completion> F>
  NoBatchCompletion(F&&) {  // NOLINT(google-explicit-constructor)
    static_assert(isNothing<F>,
                  "The completion of a batch is called with the list of all responses: write "
                  "`[](std::vector<DataResponse> responses) { … }` with the request's `Response`");
  }
};

}  // namespace corvane::detail
