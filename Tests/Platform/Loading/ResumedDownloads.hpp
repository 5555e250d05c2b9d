#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Loading/DownloadOptions.hpp"
#include "TransferTest.hpp"

namespace platform {

using corvane::testkit::generatedBytes;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;

inline constexpr std::size_t whole = 1 << 20;
inline constexpr std::size_t half = whole / 2;
inline SHA256Digest digestOf(const std::string& bytes) { return SHA256Digest::of(std::as_bytes(std::span(bytes))); }

/// Downloads to a path, the first half of which may be there.
class ResumedDownloadTest : public TransferTest {
 protected:
  DownloadOptions options(std::optional<SHA256Digest> digest = std::nullopt) const {
    return {.destination = {{.path = path(), .resumes = true}}, .expectedDigest = digest};
  }
  std::string path() const { return (files / "a.bin").string(); }
  std::string part() const { return path() + ".corvane-part"; }
  std::string record() const { return path() + ".corvane-resume"; }

  Downloaded save(const DownloadOptions& options) {
    return Download(session, URLRequest(URL(server.url("/a"))), options).resume().wait();
  }
  Downloaded save() { return save(options()); }
  Downloaded saveFrom(std::string_view target) {
    return Download(session, URLRequest(URL(server.url(target))), options()).resume().wait();
  }

  static MockResponse cut(MockResponse response) {
    return response.generatedBody(whole).dropConnection(Moment::insideBody, half);
  }
  static MockResponse tagged(int status = 200) { return MockResponse(status).header("ETag", "\"one\""); }
  static MockResponse rest(std::size_t from, std::size_t total = whole) {
    return tagged(206)
        .header("Content-Range",
                "bytes " + std::to_string(from) + "-" + std::to_string(total - 1) + "/" + std::to_string(total))
        .body(generatedBytes(total - from, from));
  }
  /// Leaves the first half there.
  void saveHalf(MockResponse response = cut(tagged())) {
    server.enqueue(std::move(response));
    const Downloaded downloaded = save();
    ASSERT_EQ(downloaded.code(), URLErrorCode::networkConnectionLost) << downloaded.message();
    ASSERT_EQ(std::filesystem::file_size(part()), half);
    (void)server.takeRequest();
  }
  void expectWhole(const Downloaded& downloaded) {
    EXPECT_EQ(downloaded.message(), "");
    ASSERT_TRUE(downloaded.file);
    EXPECT_EQ(downloaded.file->path(), path());
    EXPECT_TRUE(files.read("a.bin") == generatedBytes(whole));
    EXPECT_THAT(names(), ::testing::ElementsAre("a.bin"));
    EXPECT_THAT(leftovers(), ::testing::IsEmpty());
  }
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(files.path()))
      names.push_back(entry.path().filename());
    return names;
  }
};

}  // namespace platform
