#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "Corvane/Transfers/DownloadRequests.hpp"
#include "Corvane/Transfers/UploadRequests.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace corvane {

/// Points the system's temporary directory to one of its own for as long as it lives, so that what is left there shows.
class OwnTemporaryDirectory {
 public:
  OwnTemporaryDirectory() {
    if (const char* before = std::getenv("TMPDIR")) before_ = before;
    pointTo(directory_.path().string());
  }
  ~OwnTemporaryDirectory() {
    if (before_) {
      pointTo(*before_);
    } else {
      ::unsetenv("TMPDIR");
    }
  }
  OwnTemporaryDirectory(const OwnTemporaryDirectory&) = delete;
  OwnTemporaryDirectory& operator=(const OwnTemporaryDirectory&) = delete;

  const std::filesystem::path& path() const { return directory_.path(); }
  static void pointTo(const std::string& path) { ::setenv("TMPDIR", path.c_str(), 1); }
  /// The names of what is in it.
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path())) names.push_back(entry.path().filename());
    return names;
  }

 private:
  testkit::TemporaryDirectory directory_;
  std::optional<std::string> before_;
};

/// Sends to a server of its own, with completions on a queue of its own, and files in a directory of its own.
class TransferTest : public testkit::ServerTest {
 protected:
  ~TransferTest() override { Corvane::resetSessions(); }

  template <class Request>
  typename Request::Response responseTo(const Request& request) const {
    return testkit::await<typename Request::Response>([&](auto done) { request.send(queue, done); });
  }
  static std::string contentOf(const URL& file) {
    const Data bytes = platform::FileManager::contents(file.fileSystemPath());
    return bytes.text();
  }

  OwnTemporaryDirectory temporary;
  const DispatchQueue queue{"TransferTest"};
};

}  // namespace corvane
