#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Vantorel/ErrorLoggable.hpp"
#include "Velisand/AppError.hpp"

namespace corvane {

/// An upload that cannot be sent as described; nothing was sent.
///
///     if (const auto* problem = error.as<HTTPUploadError>()) report(problem->file().absoluteString());
class CORVANE_API HTTPUploadError final : public velisand::AppError<HTTPUploadError>, public vantorel::ErrorLoggable {
 public:
  /// The fault of the upload.
  enum class Case { fileCannotBeEncoded };

  /// The upload of a file has a content encoder. Encoders work on whole buffers in memory, and a file is never read
  /// into memory as a whole: upload an encoded file, or the bytes of the file.
  static HTTPUploadError fileCannotBeEncoded(platform::URL file);

  /// Always `fileCannotBeEncoded`.
  Case which() const { return Case::fileCannotBeEncoded; }
  /// The file of the upload.
  const platform::URL& file() const { return file_; }

  std::string message() const override;
  /// "Corvane.HTTPUploadError".
  std::string errorDomain() const override;
  /// The ordinal of the case.
  std::int64_t errorCode() const override;
  std::optional<platform::Dictionary> additionalLogInfo() const override;

  friend bool operator==(const HTTPUploadError& left, const HTTPUploadError& right) {
    return left.file_ == right.file_;
  }

 private:
  explicit HTTPUploadError(platform::URL file);

  platform::URL file_;
};

}  // namespace corvane
