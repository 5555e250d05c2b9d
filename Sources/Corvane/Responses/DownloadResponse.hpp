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

/// The outcome of a request whose body is made of a downloaded file. A success may come without a body.
template <class Body>
using DownloadResult = HTTPResult<Body>;

namespace detail {

/// Why there is nothing to make a body of; absent when nothing went wrong.
CORVANE_API std::optional<platform::Error> failureOfDownload(const platform::URLResponse* response,
                                                             std::optional<platform::Error> error);
/// Whether the response says that it has no content (204). Requires: an HTTP response.
CORVANE_API bool saysNoContent(const platform::URLResponse& response);

/// Returns why the file cannot be read.
CORVANE_API std::optional<platform::Error> readDownload(const platform::URL& file, platform::Data& bytes);
/// Logs the exception that is being handled and makes it the response's error. Requires: called in a catch block.
CORVANE_API platform::Error failureOfMaking(platform::TypeValue type);

/// Whether reading the file takes so long that it must not be done where others wait.
CORVANE_API bool isLongToRead(const std::optional<platform::URL>& file);

CORVANE_API std::string describeDownload(platform::TypeValue type, const ResponseRecord& record);

template <class Body>
struct MadeDownload {
  DownloadResult<Body> result;
  /// What the response keeps as its bytes.
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

/// The response of a request whose response is downloaded to a file, of which a `Body` is made.
///
/// The result is a success for an HTTP response with a status from 200 to 206, whatever the request itself accepts;
/// without a body for a 204 response, whose file is not read, and where there is no file. Any other response is a
/// failure, with `headers` and `status` as received.
///
/// What becomes of the file follows from the body type:
/// - made of bytes (`velisand::DataInitializable`: `Data`, text, JSON models): the whole file is read into memory;
///   the file has served then. `data` is absent, or the file's bytes when they make no body.
/// - made from a file (`URL`, paths, classes with a constructor that takes a `URL`): it is the body's from then on.
template <class BodyType>
struct DownloadResponse : ResponseRecord, HTTPResponsableDefaults<DownloadResponse<BodyType>> {
  static_assert(velisand::FileInitializable<BodyType>,
                "A downloaded file cannot be made into this body type: use URL, Data, std::string or a plain struct "
                "for JSON, or give the type a constructor that takes a URL or a Data");
  /// What is made of the file.
  using Body = BodyType;
  /// What `result` is.
  using Result = DownloadResult<Body>;

  /// Judges what a finished task hands back: a present error is the failure; an HTTP response counts by its status
  /// (`HTTPResponseError::unacceptableStatus`); a file that cannot be read fails with the file manager's error, bytes
  /// that make no body with `HTTPResponseError::malformedData`, and a body made from a file with what its
  /// constructor throws; without an HTTP response it is `HTTPUnknownError::downloadResponseFailedToConstruct`.
  DownloadResponse(std::optional<platform::Data> bytes, std::optional<platform::URL> file,
                   std::shared_ptr<const platform::URLResponse> response, std::optional<platform::Error> error)
      : DownloadResponse(detail::madeOfDownload<Body>(std::move(bytes), file, response.get(), std::move(error)),
                         response) {}
  /// A failure, with what the platform response says.
  DownloadResponse(std::shared_ptr<const platform::URLResponse> response, std::optional<platform::Data> bytes,
                   platform::Error error)
      : ResponseRecord(of(std::move(response), std::move(bytes))), result(Result::failure(std::move(error))) {}
  /// A result that is known already. Requires: the response is not null.
  DownloadResponse(Result known, std::optional<platform::Data> bytes,
                   std::shared_ptr<const platform::HTTPURLResponse> response)
      : ResponseRecord(of(std::move(response), std::move(bytes))), result(std::move(known)) {}
  /// All fields as given, but for `urlResponse`, which stays null.
  explicit DownloadResponse(Result known, ResponseRecord record = {})
      : ResponseRecord(std::move(record)), result(std::move(known)) {
    urlResponse = nullptr;
  }

  /// Whether making the response of such a file takes so long that it must not be done where others wait.
  static bool isLongToMake(const std::optional<platform::Data>&, const std::optional<platform::URL>& file) {
    return !velisand::detail::FileName<Body> && detail::isLongToRead(file);
  }

  /// Whether the body owns the file. Otherwise its URL was not handed out, and the file is removed.
  bool keepsFile() const { return !velisand::DataInitializable<Body> && result.body() != nullptr; }

  /// The type, the status and the headers, a line each.
  std::string debugDescription() const { return detail::describeDownload({&typeid(DownloadResponse)}, *this); }

  /// Success with what was made of the file, or failure with the error.
  Result result;

 private:
  DownloadResponse(detail::MadeDownload<Body> made, std::shared_ptr<const platform::URLResponse> response)
      : ResponseRecord(of(std::move(response), std::move(made.data))), result(std::move(made.result)) {}
};

}  // namespace corvane
