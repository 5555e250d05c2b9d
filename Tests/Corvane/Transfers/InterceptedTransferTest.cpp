#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <array>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "../Transport/InterceptorFixture.hpp"
#include "Corvane/Transport/HTTPInterceptor.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "TestSupport/TemporaryDirectory.hpp"
#include "TransferFixture.hpp"

namespace corvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testkit::MockResponse;

struct Upload : UploadRequestable<Upload, DataResponse, URL> {
  URL file;
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = interceptedIdentifier;
  HTTPHeaders sharedHeaders() const { return {}; }
  URL body() const { return file; }
};

struct Produced : UploadRequestable<Produced, DataResponse, HTTPBodyProducer> {
  HTTPBodyProducer body;
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = interceptedIdentifier;
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct Download : DownloadRequestable<Download> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = interceptedIdentifier;
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct Save : DownloadRequestable<Save> {
  URL url;
  HTTPDownloadDestination place;
  std::optional<platform::SHA256Digest> digest;
  std::optional<std::string> sessionConfigurationIdentifier = interceptedIdentifier;
  HTTPHeaders sharedHeaders() const { return {}; }
  HTTPDownloadDestination destination() const { return place; }
  std::optional<platform::SHA256Digest> expectedDigest() const { return digest; }
};

class InterceptedTransferTest : public InterceptorTest {
 protected:
  URL fileWith(std::string_view text) const {
    const std::string path = directory_.path().string() + "/body";
    platform::FileManager::write(Data(text), path);
    return URL::file(path);
  }
  static std::string contents(const URL& file) { return platform::FileManager::contents(file.fileSystemPath()).text(); }
  /// Sends once more after a 401.
  void addSecondTry() {
    intercept([](URLRequest request, Chain chain) -> Task<Intercepted> {
      auto response = co_await chain.send(request);
      if (response.statusCode() != 401) co_return response;
      request.allHTTPHeaderFields.set("Authorization", "now");
      co_return co_await chain.send(std::move(request));
    });
  }
  /// Sends everything twice, and goes on with the second response, or with the first.
  void addTwice(bool choosesFirst = false) {
    intercept([choosesFirst](URLRequest request, Chain chain) -> Task<Intercepted> {
      auto first = co_await chain.send(request);
      auto second = co_await chain.send(std::move(request));
      co_return choosesFirst ? std::move(first) : std::move(second);
    });
    server.enqueue(MockResponse(200).text("first"));
    server.enqueue(MockResponse(200).text("second"));
  }
  void addOwnResponse(std::string_view body) {
    intercept([body](const URLRequest& request, const Chain&) -> Task<Intercepted> {
      co_return Intercepted(request.url, 200, {}, Data(body));
    });
  }
  Save save(bool overwrites = false) const {
    return {.url = server.url(), .place = {.path = directory_ / "saved", .overwrites = overwrites}};
  }
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory_.path()))
      names.push_back(entry.path().filename());
    return names;
  }
  static HTTPBodyProducer ofPipe(std::string_view text) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe(ends.data()), 0);
    EXPECT_EQ(::write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ::close(ends[1]);
    return HTTPBodyProducer::ofDescriptor(ends[0]);
  }

  testkit::TemporaryDirectory directory_;
  OwnTemporaryDirectory temporary_;
};

TEST_F(InterceptedTransferTest, sendsAFileAgain) {
  addSecondTry();
  server.enqueue(MockResponse(401));
  server.enqueue(MockResponse(200).text("thanks"));

  EXPECT_EQ((Upload{.file = fileWith("content"), .url = server.url()}.send().get().body.text()), "thanks");

  EXPECT_EQ(server.takeRequest().body, "content");
  const auto second = server.takeRequest();
  EXPECT_EQ(second.body, "content");
  EXPECT_EQ(second.header("Authorization"), "now");
}

TEST_F(InterceptedTransferTest, tellsAnInterceptorOfTheFileAndTakesAnotherBody) {
  Future<std::string> seen;
  intercept([seen](URLRequest request, const Chain& chain) {
    seen.markCompletion(contents(*chain.bodyFile()));
    request.httpBody = Data("instead");
    return chain.send(std::move(request));
  });
  server.enqueue(MockResponse(200));

  const Upload request{.file = fileWith("content"), .url = server.url()};
  request.send().get();

  EXPECT_EQ(seen.get(), "content");
  EXPECT_EQ(server.takeRequest().body, "instead");
}

TEST_F(InterceptedTransferTest, refusesToSendABodyAgainThatCanBeReadOnce) {
  addSecondTry();
  server.enqueue(MockResponse(401));

  const Produced request{.body = ofPipe("once"), .url = server.url()};
  const Error error = failureOf(request);

  EXPECT_EQ(error.code(), platform::URLErrorCode::requestBodyStreamExhausted);
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(InterceptedTransferTest, countsTheProgressOfEachUpload) {
  addSecondTry();
  server.enqueue(MockResponse(401));
  server.enqueue(MockResponse(200));
  const Upload request{.file = fileWith("content"), .url = server.url()};
  const DispatchQueue queue("progress");
  testkit::Expectation<std::int64_t> complete;
  testkit::Expectation<DataResponse> ended;

  request.send({.queue = queue,
                .progress =
                    [complete](const HTTPProgress& progress) {
                      if (progress.completedBytes() == 7) complete.fulfil(progress.totalBytes());
                    }},
               ended);

  EXPECT_TRUE(ended.wait().result);
  EXPECT_EQ(complete.wait(), 7);
}

TEST_F(InterceptedTransferTest, savesTheLastResponseToADownload) {
  addSecondTry();
  server.enqueue(MockResponse(401).text("refused"));
  server.enqueue(MockResponse(200).text("content"));

  const auto response = Download{.url = server.url("/a.txt")}.send().get();

  EXPECT_EQ(contents(response.body), "content");
  EXPECT_EQ(response.body.lastPathComponent(), "a.txt");
}

TEST_F(InterceptedTransferTest, savesWhatAnInterceptorRespondsWith) {
  intercept([](const URLRequest& request, const Chain&) -> Task<Intercepted> {
    co_return Intercepted(request.url, 200, {}, Data("from memory"));
  });

  const auto response = Download{.url = server.url("/a.txt")}.send().get();

  EXPECT_EQ(contents(response.body), "from memory");
}

TEST_F(InterceptedTransferTest, savesThatAtTheDestination) {
  addOwnResponse("hello");
  Save request = save();
  request.digest = platform::SHA256Digest("2cf24dba5fb0a30e26e83b2ac5b9e29e1b161e5c1fa7425e73043362938b9824");

  EXPECT_EQ(request.send().get().body.fileSystemPath(), request.place.path);

  EXPECT_EQ(directory_.read("saved"), "hello");
  EXPECT_THAT(names(), ElementsAre("saved"));
}

TEST_F(InterceptedTransferTest, checksTheDigestOfThat) {
  addOwnResponse("jello");
  Save request = save();
  request.digest = platform::SHA256Digest("2cf24dba5fb0a30e26e83b2ac5b9e29e1b161e5c1fa7425e73043362938b9824");

  EXPECT_TRUE(failureOf(request).as<platform::DigestMismatch>());

  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(InterceptedTransferTest, namesTheDestinationOfAnotherDigest) {
  addSecondTry();
  server.enqueue(MockResponse(200).text("jello"));
  Save request = save();
  request.digest = platform::SHA256Digest("2cf24dba5fb0a30e26e83b2ac5b9e29e1b161e5c1fa7425e73043362938b9824");

  EXPECT_THAT(failureOf(request).message(), HasSubstr(request.place.path));

  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(InterceptedTransferTest, savesTheResponseThatWasChosen) {
  addTwice();

  EXPECT_EQ(save(true).send().get().body.fileSystemPath(), directory_ / "saved");

  EXPECT_EQ(directory_.read("saved"), "second");
  EXPECT_THAT(names(), ElementsAre("saved"));
}

TEST_F(InterceptedTransferTest, savesTheFirstResponseWhereThatWasChosen) {
  addTwice(true);

  save().send().get();

  EXPECT_EQ(directory_.read("saved"), "first");
  EXPECT_THAT(names(), ElementsAre("saved"));
}

TEST_F(InterceptedTransferTest, leavesTheDestinationAloneWhereNoneWasChosen) {
  intercept([](URLRequest request, Chain chain) -> Task<Intercepted> {
    co_await chain.send(std::move(request));
    throw std::runtime_error("none");
  });
  server.enqueue(MockResponse(200).text("new"));
  directory_.write("saved", "old");

  EXPECT_THAT(failureOf(save(true)).message(), HasSubstr("none"));

  EXPECT_EQ(directory_.read("saved"), "old");
  EXPECT_THAT(names(), ElementsAre("saved"));
}

TEST_F(InterceptedTransferTest, keepsThePermissionsOfWhatItReplaces) {
  using std::filesystem::perms;
  addTwice();
  directory_.write("saved", "old");
  const perms before = perms::owner_read | perms::owner_write | perms::group_read;
  std::filesystem::permissions(directory_ / "saved", before);

  save(true).send().get();

  EXPECT_EQ(directory_.read("saved"), "second");
  EXPECT_EQ(std::filesystem::status(directory_ / "saved").permissions(), before);
}

TEST_F(InterceptedTransferTest, sendsNothingWhereTheDestinationIsTaken) {
  addSecondTry();
  directory_.write("saved", "old");

  EXPECT_EQ(failureOf(save()).code(), platform::URLErrorCode::cannotCreateFile);

  EXPECT_EQ(server.requestCount(), 0);
  EXPECT_EQ(directory_.read("saved"), "old");
}

TEST_F(InterceptedTransferTest, savesARefusalElsewhere) {
  addSecondTry();
  server.enqueue(MockResponse(404).text("refused"));

  failureOf(save());

  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(InterceptedTransferTest, replacesTheBodyOfADownload) {
  intercept([](URLRequest request, Chain chain) -> Task<Intercepted> {
    auto response = co_await chain.send(std::move(request));
    response.data = Data("replaced");
    co_return response;
  });
  server.enqueue(MockResponse(200).text("content"));

  const auto response = Download{.url = server.url("/a.txt")}.send().get();

  EXPECT_EQ(contents(response.body), "replaced");
}

}  // namespace
}  // namespace corvane
