#pragma once

#include <memory>
#include <optional>
#include <string>
#include <typeinfo>
#include <utility>

#include "Corvane/Responses/HTTPResponsable.hpp"
#include "Corvane/Responses/HTTPResponsableDefaults.hpp"
#include "Corvane/Responses/HTTPResult.hpp"
#include "Corvane/Responses/ResponseRecord.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/TypeName.hpp"
#include "Velisand/FileRepresentable.hpp"

namespace corvane {

/// The outcome of a request whose body is made from a downloaded file. A success may have no body.
template <class Body>
using DownloadResult = HTTPResult<Body>;

namespace detail {

/// The failure because of which no body can be made; absent without a failure.
CORVANE_API std::optional<platform::Error> failureOfDownload(const platform::URLResponse* response,
                                                             std::optional<platform::Error> error);
/// Whether the status is 204, so that there is no content. Requires: an HTTP response.
CORVANE_API bool saysNoContent(const platform::URLResponse& response);

/// Reads the file. Returns the error if it cannot be read.
CORVANE_API std::optional<platform::Error> readDownload(const platform::URL& file, platform::Data& bytes);
/// Logs the exception that is being handled and returns the error of the response. Requires: called in a catch block.
CORVANE_API platform::Error failureOfMaking(platform::TypeValue type);

/// Whether the file is so long that it must not be read on the isolation queue.
CORVANE_API bool isLongToRead(const std::optional<platform::URL>& file);

CORVANE_API std::string describeDownload(platform::TypeValue type, const ResponseRecord& record);

template <class Body>
struct MadeDownload {
  DownloadResult<Body> result;
  /// The `data` of the response.
  std::optional<platform::Data> data;
};

template <class Body>
MadeDownload<Body> madeOfBytes(const platform::URL& file, std::optional<platform::Data> received) {
  platform::Data bytes;
  if (auto failure = readDownload(file, bytes))
    return {DownloadResult<Body>::failure(*std::move(failure)), std::move(received)};
  try {
    return {DownloadResult<Body>::success(velisand::fromData<Body>(bytes)), std::nullopt};
  } catch (...) {
    return {DownloadResult<Body>::failure(failureOfMaking({&typeid(Body)})), std::move(bytes)};
  }
}

template <class Body>
MadeDownload<Body> madeOfFile(const platform::URL& file, std::optional<platform::Data> received) {
  try {
    return {DownloadResult<Body>::success(velisand::fromFile<Body>(file)), std::nullopt};
  } catch (...) {
    return {DownloadResult<Body>::failure(platform::Error::current()), std::move(received)};
  }
}

template <class Body>
MadeDownload<Body> madeOfDownload(std::optional<platform::Data> received, const std::optional<platform::URL>& file,
                                  const platform::URLResponse* response, std::optional<platform::Error> error) {
  if (auto failure = failureOfDownload(response, std::move(error)))
    return {DownloadResult<Body>::failure(*std::move(failure)), std::move(received)};
  if (!file || saysNoContent(*response)) return {DownloadResult<Body>::success(std::nullopt), std::move(received)};
  if constexpr (velisand::DataInitializable<Body>) {
    return madeOfBytes<Body>(*file, std::move(received));
  } else {
    return madeOfFile<Body>(*file, std::move(received));
  }
}

}  // namespace detail

/// The response of a download. Its `Body` is made from the downloaded file.
///
/// The result is a success for an HTTP response with a status from 200 to 206, whatever the request itself accepts. The
/// success has no body for a 204 response, whose file is not read, and without a file. Any other response is a failure,
/// with `headers` and `status` as received.
///
/// The body type determines the ownership of the file:
/// - A body from bytes (`velisand::DataInitializable`: `Data`, text, JSON models): the whole file is read into memory,
///   and then removed. `data` is absent, or the file's bytes if they cannot be converted to the body.
/// - A body from a file (`URL`, paths, classes with a constructor that takes a `URL`): the body owns the file.
///
///     const DownloadResponse<URL> response = DownloadGetRequest<URL>(url).send(wholeResponse).get();
///     if (const URL* file = response.result.body()) show(*file);
template <class BodyType>
struct DownloadResponse : ResponseRecord, HTTPResponsableDefaults<DownloadResponse<BodyType>> {
  static_assert(velisand::FileInitializable<BodyType>,
                "A downloaded file cannot be made into this body type: use URL, Data, std::string or a plain struct "
                "for JSON, or give the type a constructor that takes a URL or a Data");
  /// The type made from the file.
  using Body = BodyType;
  /// The type of `result`.
  using Result = DownloadResult<Body>;

  /// Builds the response from the outcome of a task. With an error, the result is that failure. With an HTTP response,
  /// it depends on the status (`HTTPResponseError::unacceptableStatus`). A file that cannot be read is the file
  /// manager's error; bytes that cannot be converted to the body are `HTTPResponseError::malformedData`; an exception
  /// from a constructor that takes the file is itself the error. Without an HTTP response, the result is
  /// `HTTPUnknownError::downloadResponseFailedToConstruct`.
  DownloadResponse(std::optional<platform::Data> bytes, std::optional<platform::URL> file,
                   std::shared_ptr<const platform::URLResponse> response, std::optional<platform::Error> error)
      : DownloadResponse(detail::madeOfDownload<Body>(std::move(bytes), file, response.get(), std::move(error)),
                         response) {}
  /// A failure, with the facts of the platform response.
  DownloadResponse(std::shared_ptr<const platform::URLResponse> response, std::optional<platform::Data> bytes,
                   platform::Error error)
      : ResponseRecord(of(std::move(response), std::move(bytes))), result(Result::failure(std::move(error))) {}
  /// A response with this result. Requires: `response` is not null.
  DownloadResponse(Result known, std::optional<platform::Data> bytes,
                   std::shared_ptr<const platform::HTTPURLResponse> response)
      : ResponseRecord(of(std::move(response), std::move(bytes))), result(std::move(known)) {}
  /// All fields as given, except `urlResponse`, which is null.
  explicit DownloadResponse(Result known, ResponseRecord record = {})
      : ResponseRecord(std::move(record)), result(std::move(known)) {
    urlResponse = nullptr;
  }

  /// Whether building the response from this file takes long (more than 64 KiB to read), so that it is built on the
  /// global queue.
  static bool isLongToMake(const std::optional<platform::Data>&, const std::optional<platform::URL>& file) {
    return !velisand::detail::FileName<Body> && detail::isLongToRead(file);
  }

  /// Whether the body owns the file. Otherwise the body does not have its URL, and the library removes the file.
  bool keepsFile() const { return !velisand::DataInitializable<Body> && result.body() != nullptr; }

  /// The type, the status and the headers, one line each.
  std::string debugDescription() const { return detail::describeDownload({&typeid(DownloadResponse)}, *this); }

  /// Success with the body made from the file, or failure with the error.
  Result result;

 private:
  DownloadResponse(detail::MadeDownload<Body> made, std::shared_ptr<const platform::URLResponse> response)
      : ResponseRecord(of(std::move(response), std::move(made.data))), result(std::move(made.result)) {}
};

}  // namespace corvane
