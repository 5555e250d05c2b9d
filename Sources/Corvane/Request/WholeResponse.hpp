#pragma once

namespace corvane {

/// The type of `wholeResponse`.
///
///     const DataResponse response = DataGetRequest(url).send(wholeResponse).get();  // also of a failure
class WholeResponse {
 public:
  /// For `wholeResponse` alone: nothing in braces makes one.
  static constexpr WholeResponse make() { return WholeResponse(nullptr); }

 private:
  constexpr explicit WholeResponse(decltype(nullptr)) {}
};

/// Stands in the place of a completion, where a future of the response itself is wanted: one that has every outcome in
/// its `result`, and does not fail.
///
///     const DataResponse response = request.send(wholeResponse).get();
///     const DataResponse response = co_await request.send({.deadline = 5s}, wholeResponse);
inline constexpr WholeResponse wholeResponse = WholeResponse::make();

}  // namespace corvane
