#pragma once

#include <sys/types.h>

#include <Corvane/Corvane.hpp>
#include <string>
#include <string_view>

/// Where the user wants downloads. Until they are complete they are in a hidden directory inside, on the same
/// volume, which goes with this value, and with it whatever is left there.
class DownloadFolder {
 public:
  /// Throws `std::system_error` when nothing can be made in the directory.
  explicit DownloadFolder(std::string path);
  ~DownloadFolder();
  DownloadFolder(const DownloadFolder&) = delete;
  DownloadFolder& operator=(const DownloadFolder&) = delete;

  /// The hidden directory, as an absolute path.
  const std::string& arrivals() const { return arrivals_; }
  /// Takes a file that has arrived under its name, or the first numbered one that is free: what is there already is
  /// never touched. Returns its path. Throws the file manager's errors.
  std::string take(const corvane::URL& file) const;

 private:
  const std::string path_;
  const std::string arrivals_;
  const mode_t permissions_;
};

/// "report (2).pdf" for "report.pdf": a name for a further file, no longer than any name may be.
std::string numberedName(std::string_view name, int number);
