#pragma once

#include <cstdint>
#include <string>

#include "Platform/Export.hpp"
#include "Vantorel/ErrorLoggable.hpp"
#include "Velisand/AppError.hpp"

namespace corvane {

/// zlib could not compress or decompress.
class CORVANE_API GZipError final : public velisand::AppError<GZipError>, public vantorel::ErrorLoggable {
 public:
  /// The kind of failure; see the factories below.
  enum class Case { stream, data, memory, buffer, version, unknown };

  /// A parameter was wrong, such as a compression level that does not exist.
  static GZipError stream(std::string zlibMessage);
  /// The compressed bytes or their checksum are damaged.
  static GZipError data(std::string zlibMessage);
  /// There was not enough memory.
  static GZipError memory(std::string zlibMessage);
  /// The compressed bytes end too early.
  static GZipError buffer(std::string zlibMessage);
  /// The installed zlib is not compatible with the version that this library was compiled with.
  static GZipError version(std::string zlibMessage);
  /// Any other result of zlib.
  static GZipError unknown(std::string zlibMessage, int code);

  /// The kind of failure.
  Case which() const { return case_; }
  /// zlib's own message, or "unknown gzip error".
  const std::string& zlibMessage() const { return zlibMessage_; }
  /// zlib's result for `unknown`; 0 otherwise.
  int code() const { return code_; }

  std::string message() const override;
  /// "Corvane.GZipError".
  std::string errorDomain() const override;
  /// The ordinal of the case.
  std::int64_t errorCode() const override;

  friend bool operator==(const GZipError& left, const GZipError& right) {
    return left.case_ == right.case_ && left.zlibMessage_ == right.zlibMessage_ && left.code_ == right.code_;
  }

 private:
  GZipError(Case which, std::string zlibMessage, int code = 0);

  Case case_;
  std::string zlibMessage_;
  int code_;
};

}  // namespace corvane
