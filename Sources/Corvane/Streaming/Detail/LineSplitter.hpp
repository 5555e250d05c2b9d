#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace corvane::detail {

/// Cuts bytes into lines that end with LF or CRLF. For one thread.
class CORVANE_API LineSplitter {
 public:
  explicit LineSplitter(std::size_t maximumBytes) : maximumBytes_(maximumBytes) {}

  /// Requires: `next` gave no line.
  void put(platform::Data piece);
  /// What is left is the last line, unless it is empty.
  void finish() { isFinished_ = true; }
  /// The next line, without its end; absent where its end is not there yet. Throws `HTTPStreamError::lineTooLong`.
  std::optional<std::string> next();
  /// The number of the line that was given last, from 1.
  std::uint64_t number() const { return number_; }

 private:
  std::string taken(std::string_view rest);
  void keep(std::string_view part);

  const std::size_t maximumBytes_;
  platform::Data piece_;
  std::size_t used_ = 0;
  std::string begun_;  ///< the beginning of a line
  std::uint64_t number_ = 0;
  bool isFinished_ = false;
};

}  // namespace corvane::detail
