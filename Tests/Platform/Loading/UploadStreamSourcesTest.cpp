#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <thread>

#include "CorvaneTesting/Expectation.hpp"
#include "TransferTest.hpp"
#include "UploadStreams.hpp"

namespace platform {
namespace {

using corvane::testkit::Expectation;
using corvane::testkit::MockResponse;

/// Bodies from files, descriptors, and several sources.
class UploadStreamSourcesTest : public TransferTest {
 protected:
  URLRequest requestWith(std::shared_ptr<URLBodyStream> body, std::string_view target = "/") {
    URLRequest made = request(server.url(target), "POST");
    made.httpBodyStream = std::move(body);
    return made;
  }
  Loaded send(std::shared_ptr<URLBodyStream> body) { return load(requestWith(std::move(body))); }

  static std::array<int, 2> makePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    return ends;
  }
  static void write(int descriptor, std::string_view text) {
    ASSERT_EQ(::write(descriptor, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
};

TEST_F(UploadStreamSourcesTest, readsAFileWhileItIsSent) {
  server.enqueue(MockResponse(307).header("Location", "/there"));
  server.enqueue(MockResponse(200));
  const std::string content(1'000'000, 'c');

  const Loaded loaded = send(URLBodyStream::ofFile(file("a", content)));

  EXPECT_EQ(loaded.status(), 200) << loaded.message();
  const auto first = server.takeRequest();
  EXPECT_EQ(first.header("Content-Length"), "1000000");
  EXPECT_EQ(first.body, content);
  EXPECT_EQ(server.takeRequest().body, content);
}

TEST_F(UploadStreamSourcesTest, refusesAFileThatIsNotThere) {
  try {
    URLBodyStream::ofFile(URL::file("/nonexistent/file"));
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), kCFErrorDomainCFNetwork);
    EXPECT_EQ(error.code(), URLErrorCode::fileDoesNotExist);
  }
}

TEST_F(UploadStreamSourcesTest, failsForAFileThatChangedItsLength) {
  const URL changed = file("a", "content");
  const auto body = URLBodyStream::ofFile(changed);
  file("a", "more content");

  const Loaded loaded = send(body);

  EXPECT_EQ(loaded.code(), URLErrorCode::requestBodyStreamExhausted);
  EXPECT_EQ(loaded.message(), changed.fileSystemPath() + ": changed from 7 to 12 bytes before it was sent");
  server.takeFailures();
}

TEST_F(UploadStreamSourcesTest, readsAPipeUntilItsEnd) {
  server.enqueue(MockResponse(200));
  const auto [reading, writing] = makePipe();
  Load loading(session, requestWith(URLBodyStream::ofDescriptor(reading)));
  loading.resume();

  write(writing, "one ");
  ASSERT_TRUE(server.waitUntil([&] { return server.bodyBytesReceived() == 4; }));
  write(writing, "two");
  ::close(writing);

  const Loaded loaded = loading.wait();
  EXPECT_EQ(loaded.status(), 200) << loaded.message();
  const auto received = server.takeRequest();
  EXPECT_EQ(received.body, "one two");
  EXPECT_TRUE(received.isChunked);
}

TEST_F(UploadStreamSourcesTest, waitsForAPipeThatDoesNotBlock) {
  server.enqueue(MockResponse(200));
  const auto [reading, writing] = makePipe();
  ASSERT_EQ(::fcntl(reading, F_SETFL, O_NONBLOCK), 0);
  Load loading(session, requestWith(URLBodyStream::ofDescriptor(reading, 3)));
  loading.resume();
  ASSERT_TRUE(server.waitUntil([&] { return server.headCount() == 1; }));

  write(writing, "abc");
  ::close(writing);

  EXPECT_EQ(loading.wait().status(), 200);
  EXPECT_EQ(server.takeRequest().header("Content-Length"), "3");
}

TEST_F(UploadStreamSourcesTest, doesNotWaitForAPipeWhenItsTaskIsCancelled) {
  const auto [reading, writing] = makePipe();
  Load loading(session, requestWith(URLBodyStream::ofDescriptor(reading)));
  loading.resume();
  write(writing, "begun");
  ASSERT_TRUE(server.waitUntil([&] { return server.bodyBytesReceived() == 5; }));

  loading.cancel();

  EXPECT_EQ(loading.wait().code(), URLErrorCode::cancelled);
  // The end of a reader: nobody else would close it.
  std::array<pollfd, 1> end{pollfd{writing, 0, 0}};
  EXPECT_EQ(::poll(end.data(), 1, 10'000), 1);
  EXPECT_NE(end[0].revents & POLLERR, 0);
  ::close(writing);
  server.takeFailures();
}

TEST_F(UploadStreamSourcesTest, closesADescriptorThatWasNeverRead) {
  const auto [reading, writing] = makePipe();

  URLBodyStream::ofDescriptor(reading);

  EXPECT_EQ(::fcntl(reading, F_GETFD), -1);
  ::close(writing);
}

TEST_F(UploadStreamSourcesTest, refusesADescriptorThatIsNotOpen) {
  try {
    URLBodyStream::ofDescriptor(-1);
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), NSPOSIXErrorDomain);
    EXPECT_EQ(error.code(), EBADF);
  }
}

TEST_F(UploadStreamSourcesTest, failsForADescriptorThatCannotBeRead) {
  const int writeOnly = ::open("/dev/null", O_WRONLY | O_CLOEXEC);

  const Loaded loaded = send(URLBodyStream::ofDescriptor(writeOnly));

  ASSERT_TRUE(loaded.error);
  EXPECT_EQ(loaded.error->domain(), NSPOSIXErrorDomain);
  EXPECT_EQ(loaded.code(), EBADF);
  server.takeFailures();
}

TEST_F(UploadStreamSourcesTest, joinsSeveralSources) {
  server.enqueue(MockResponse(307).header("Location", "/there"));
  server.enqueue(MockResponse(200));
  const auto joined = URLBodyStream::joined({URLBodyStream::ofData("a"), URLBodyStream::ofFile(file("f", "file")),
                                             URLBodyStream::ofData(""), MadeBody::of({"x", "y"}, 2)});
  EXPECT_EQ(joined->length(), 7U);
  EXPECT_TRUE(joined->isRepeatable());

  EXPECT_EQ(send(joined).status(), 200);

  EXPECT_EQ(server.takeRequest().body, "afilexy");
  EXPECT_EQ(server.takeRequest().body, "afilexy");
}

TEST_F(UploadStreamSourcesTest, joinsToWhatIsKnownOfAll) {
  const auto unknown = URLBodyStream::joined({URLBodyStream::ofData("a"), MadeBody::of({"x"})});
  const auto once = URLBodyStream::joined({URLBodyStream::ofData("a"), MadeBody::of({"x"}, 1, false)});

  EXPECT_EQ(unknown->length(), std::nullopt);
  EXPECT_FALSE(once->isRepeatable());
  EXPECT_EQ(once->length(), 2U);
  EXPECT_EQ(URLBodyStream::joined({})->length(), 0U);
}

TEST_F(UploadStreamSourcesTest, interruptsTheSourceThatIsRead) {
  const auto [reading, writing] = makePipe();
  Load loading(
      session,
      requestWith(URLBodyStream::joined({URLBodyStream::ofData("first"), URLBodyStream::ofDescriptor(reading)})));
  loading.resume();
  // Once it was read, it is being read.
  write(writing, ", second");
  ASSERT_TRUE(server.waitUntil([&] { return server.bodyBytesReceived() == 13; }));

  loading.cancel();

  EXPECT_EQ(loading.wait().code(), URLErrorCode::cancelled);
  std::array<pollfd, 1> end{pollfd{writing, 0, 0}};
  EXPECT_EQ(::poll(end.data(), 1, 10'000), 1);
  ::close(writing);
  server.takeFailures();
}

}  // namespace
}  // namespace platform
