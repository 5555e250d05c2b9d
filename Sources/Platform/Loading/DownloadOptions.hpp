#pragma once

#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/URLResponse.hpp"
#include "Platform/Security/SHA256Digest.hpp"

namespace platform {

/// Where a download is saved: `{.path = "manual.pdf", .resumes = true}`.
///
/// The file grows beside its destination, in the same directory, and is renamed to it when it is complete; so the
/// destination never shows a part of it. It has the permissions of any new file (0666 without those of the umask), or
/// those of the file that it replaces (0777 of them), from the beginning. With `resumes`, a new file is not writable by
/// others, whatever the umask is.
///
///     const DownloadDestination destination{.path = "manual.pdf", .overwrites = true};
struct DownloadDestination {
  /// The path of the file. A relative one is resolved against the current directory of the moment when the task starts.
  std::string path;
  /// Whether an existing file is replaced, when the download is complete. Default: false, an existing file is an error.
  /// Anything but a regular file is never replaced.
  bool overwrites = false;
  /// Whether what has arrived of a download that ends early is kept, and the next download of the same URL to the same
  /// path goes on from there. What is kept is in two files beside the destination: `manual.pdf.corvane-part`, the
  /// bytes, and `manual.pdf.corvane-resume`, which tells what they are of. Default: false, nothing is kept.
  ///
  /// The server's response has to have a strong validator (RFC 9110, 8.8.1): an entity tag that is not weak, or,
  /// without any, a "Last-Modified" at least a minute before its "Date" (8.8.2.2). The next request asks for the rest
  /// ("Range") under the condition that the validator still holds ("If-Range", 13.1.5); otherwise the download starts
  /// over. For a GET only, and the request must not have a "Range" of its own.
  bool resumes = false;
};

/// What is to become of the file of a download.
///
///     session->downloadTask(URLRequest(url), {.destination = {{.path = "manual.pdf"}}}, completion)->resume();
struct CORVANE_API DownloadOptions {
  /// Absent: a file in the temporary directory.
  std::optional<DownloadDestination> destination = std::nullopt;
  /// The digest that the whole file must have, decoded from its content codings. It is made while the bytes arrive;
  /// with another one the file is removed, what would have been kept of it, too, and the task fails with
  /// `DigestMismatch`.
  std::optional<SHA256Digest> expectedDigest = std::nullopt;

  /// Whether the body of such a response is what was asked for: that of a file URL, and over HTTP that of a status from
  /// 200 to 206 other than 204.
  static bool isContent(const URLResponse& response);
  /// Whether the body of such a response goes to the destination. Any other body than content goes to the temporary
  /// directory.
  bool isForDestination(const URLResponse& response) const { return destination && isContent(response); }
};

/// A downloaded file is not the one that was expected; it was removed.
///
///     if (const auto* other = error.as<DigestMismatch>()) report(other->actual().hex());
class CORVANE_API DigestMismatch final : public CustomErrorBase<DigestMismatch> {
 public:
  /// `path` is where it was to be saved; empty for the temporary directory.
  DigestMismatch(const SHA256Digest& expected, const SHA256Digest& actual, std::string path);

  /// What the file was to have.
  const SHA256Digest& expected() const noexcept { return expected_; }
  /// What it had.
  const SHA256Digest& actual() const noexcept { return actual_; }

  /// "the download of manual.pdf has the SHA-256 digest 2cf2…, not 9f86… as expected".
  std::string message() const override;
  /// "DigestMismatch".
  std::string errorDomain() const override;

 private:
  SHA256Digest expected_;
  SHA256Digest actual_;
  std::string path_;
};

}  // namespace platform
