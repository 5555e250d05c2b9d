#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <variant>

#include "Platform/Foundation/TemporaryFile.hpp"
#include "Platform/Loading/DownloadOptions.hpp"
#include "Platform/Loading/Internal/DownloadFile.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace platform::detail {

class PartialFile;

/// Decides which file the body of a download's response goes to: its destination, new or resumed, or, for a body that
/// is none of what was asked for, one in the temporary directory. Loop side.
class DownloadReceiver {
 public:
  explicit DownloadReceiver(DownloadOptions options) : options_(std::move(options)) {}
  ~DownloadReceiver();
  DownloadReceiver(const DownloadReceiver&) = delete;
  DownloadReceiver& operator=(const DownloadReceiver&) = delete;

  const DownloadOptions& options() const { return options_; }
  /// Before anything is sent: makes sure that the destination can be written, and locks what is kept of an earlier
  /// download. Sets `request` to one for the rest, where there is a rest.
  std::optional<LoadFailure> begin(const URLRequest& original, std::unique_ptr<URLRequest>& request);
  /// What has to be hashed, by `PartialFile::hashKept`, before the request is sent; null when nothing has.
  const std::shared_ptr<PartialFile>& unhashed() const { return unhashed_; }
  void keptWasHashed(SHA256Hasher hasher);

  /// What a final response means.
  struct Verdict {
    enum class Kind {
      /// Its body is wanted.
      take,
      /// It is of no use: the request has to be sent again, for the whole.
      sendAgain,
      /// Nothing is missing.
      complete,
      /// It must not be used.
      refuse
    };
    Kind kind = Kind::take;
    /// Of a refusal.
    std::optional<LoadFailure> failure = std::nullopt;
  };
  Verdict judge(const HTTPURLResponse& response);
  /// The file for the body of the response that was judged last.
  std::variant<BodySink*, LoadFailure> sink();
  /// Whether there is something to tell of before the first byte of that body comes.
  bool isResumable() const { return partial_ != nullptr; }
  // What progress tells of while so many bytes of that body are there, or will be; -1 while that is not known. Of a
  // resumed download it tells of the whole file, whatever else the server says meanwhile.
  std::int64_t bytesThere(std::int64_t received) const;
  std::int64_t bytesInAll(std::int64_t announced) const;

  /// The complete file of that response, in its place. Throws a `DigestMismatch`.
  std::variant<TemporaryFile, LoadFailure> complete();
  /// What is not complete is kept or removed.
  void end() noexcept;

 private:
  Verdict judgePart(const HTTPURLResponse& response);
  Verdict judgeUnsatisfiable(const HTTPURLResponse& response);
  Verdict goOn(std::int64_t end, std::optional<std::int64_t> total);
  Verdict startOver(const HTTPURLResponse& response);
  Verdict askForAll();

  const DownloadOptions options_;
  std::shared_ptr<PartialFile> partial_;
  std::shared_ptr<PartialFile> unhashed_;
  DownloadFile fresh_;
  DownloadFile other_;
  /// Whether the caller asked for a part.
  bool hasRange_ = false;
  bool asksForRest_ = false;
  bool isForDestination_ = false;
  std::int64_t bytesBefore_ = 0;
  /// How long the whole file is to be; absent while that is not known.
  std::optional<std::int64_t> total_;
  /// Where the range that is being received ends; absent while it is none.
  std::optional<std::int64_t> end_;
};

/// The response that stands for one that says that nothing is missing (416): the same, with status 200 and without the
/// facts of its own body.
std::shared_ptr<const HTTPURLResponse> asComplete(const HTTPURLResponse& response);
/// The same request for the whole.
URLRequest withoutRange(URLRequest request);

}  // namespace platform::detail
