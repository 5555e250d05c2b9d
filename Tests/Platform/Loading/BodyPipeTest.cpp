#include "Platform/Loading/Internal/BodyPipe.hpp"

#include <gmock/gmock.h>

#include "CodingSamples.hpp"
#include "CorvaneTesting/Compression.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

/// The bounds of a streamed body, and how its consumer is told of it.
namespace platform::detail {
namespace {

using Status = URLResponseStream::Status;

/// Writes down what the pipe asks for; calls from the loop side are made when the test says.
class ScriptedOwner final : public BodyPipeOwner {
 public:
  void setReading(bool isWanted) override { readings.push_back(isWanted); }
  void submit(const DispatchQueue&, Block block) override { submitted.push_back(std::move(block)); }
  void post(Block block) override { posted.push_back(std::move(block)); }
  void giveUp() override { ++givenUp; }

  void runPosted() {
    for (Block& block : std::exchange(posted, {})) block();
  }

  std::vector<bool> readings;
  std::vector<Block> submitted;
  std::vector<Block> posted;
  int givenUp = 0;
};

Bytes bytesOf(std::string_view text) { return std::as_bytes(std::span(text.data(), text.size())); }

class BodyPipeTest : public ::testing::Test {
 protected:
  std::shared_ptr<BodyPipe> pipeOf(std::string_view coding, std::int64_t limit = std::int64_t{1} << 40) {
    HTTPHeaderFields fields;
    if (!coding.empty()) fields.add("Content-Encoding", coding);
    auto choice = ContentDecoder::make({{"Accept-Encoding", "br, zstd"}}, fields,
                                       {.maximumBytes = limit, .limitsExpansion = false});
    return std::make_shared<BodyPipe>(owner, URL("http://127.0.0.1/"), std::move(choice.decoder));
  }

  std::shared_ptr<ScriptedOwner> owner = std::make_shared<ScriptedOwner>();
  std::shared_ptr<BodyPipe> pipe = pipeOf("");
};

TEST_F(BodyPipeTest, givesWhatWasPutIn) {
  EXPECT_EQ(pipe->next().status, Status::pending);
  pipe->take(bytesOf("one "));
  pipe->take(bytesOf("two"));

  const auto step = pipe->next();
  EXPECT_EQ(step.status, Status::piece);
  EXPECT_EQ(step.piece.text(), "one two");
  EXPECT_EQ(pipe->next().status, Status::pending);
  pipe->finish(std::nullopt);
  EXPECT_EQ(pipe->next().status, Status::end);
  EXPECT_EQ(pipe->next().status, Status::end);
}

TEST_F(BodyPipeTest, givesPiecesOfBoundedLength) {
  pipe->take(bytesOf(std::string(150'000, 'x')));

  EXPECT_EQ(pipe->next().piece.count(), 65536U);
  EXPECT_EQ(pipe->next().piece.count(), 65536U);
  EXPECT_EQ(pipe->next().piece.count(), 150'000U - 2 * 65536);
}

TEST_F(BodyPipeTest, stopsReadingWhileItIsFull) {
  const std::string piece(65536, 'x');
  for (int i = 0; i < 3; ++i) pipe->take(bytesOf(piece));
  EXPECT_TRUE(owner->readings.empty());

  pipe->take(bytesOf(piece));
  EXPECT_EQ(owner->readings, std::vector({false}));

  // What it may still deliver does not make it ask again.
  pipe->take(bytesOf(piece));
  EXPECT_EQ(owner->readings, std::vector({false}));
}

TEST_F(BodyPipeTest, readsOnWhenHalfOfItIsUsedUp) {
  const std::string piece(65536, 'x');
  for (int i = 0; i < 4; ++i) pipe->take(bytesOf(piece));

  // The piece that the consumer has counts until it asks for the next.
  pipe->next();
  pipe->next();
  EXPECT_TRUE(owner->posted.empty());
  pipe->next();
  ASSERT_EQ(owner->posted.size(), 1U);

  owner->runPosted();
  EXPECT_EQ(owner->readings, std::vector({false, true}));
}

TEST_F(BodyPipeTest, doesNotReadOnWhenItIsFullAgain) {
  const std::string piece(65536, 'x');
  for (int i = 0; i < 4; ++i) pipe->take(bytesOf(piece));
  for (int i = 0; i < 3; ++i) pipe->next();
  for (int i = 0; i < 4; ++i) pipe->take(bytesOf(piece));

  owner->runPosted();

  EXPECT_EQ(owner->readings, std::vector({false, false}));
}

TEST_F(BodyPipeTest, takesBytesWhereTheyAreRead) {
  const auto room = pipe->room(1'000'000);
  ASSERT_EQ(room.size(), 65536U);
  std::fill(room.begin(), room.end(), std::byte{'a'});
  pipe->filled(65536);
  const auto next = pipe->room(40'000);
  ASSERT_EQ(next.size(), 40'000U);
  std::fill(next.begin(), next.end(), std::byte{'b'});
  pipe->filled(10);

  EXPECT_EQ(pipe->next().piece.text(), std::string(65536, 'a'));
  EXPECT_EQ(pipe->next().piece.text(), std::string(10, 'b'));
  EXPECT_TRUE(pipe->room(100).empty());
}

TEST_F(BodyPipeTest, fillsTheMemoryOfPiecesAgain) {
  pipe->room(65536);
  pipe->filled(65536);
  const void* const place = pipe->next().piece.bytes();
  pipe->next();

  EXPECT_EQ(pipe->room(65536).data(), place);
}

TEST_F(BodyPipeTest, leavesPiecesAloneThatAreKept) {
  pipe->take(bytesOf(std::string(65536, 'a')));
  const Data kept = pipe->next().piece;
  pipe->take(bytesOf(std::string(65536, 'b')));
  pipe->next();
  pipe->take(bytesOf(std::string(65536, 'c')));
  pipe->next();

  EXPECT_EQ(kept.text(), std::string(65536, 'a'));
}

TEST_F(BodyPipeTest, joinsWhatIsReadInPlaceWhileItWaits) {
  for (int i = 0; i < 6; ++i) {
    const auto room = pipe->room(1'000'000);
    std::fill_n(room.begin(), 20'000, static_cast<std::byte>('a' + i));
    pipe->filled(20'000);
  }

  std::string body;
  for (const std::size_t count : {60'000U, 60'000U}) {
    const Data piece = pipe->next().piece;
    EXPECT_EQ(piece.count(), count);
    body += piece.view();
  }

  std::string expected;
  for (const char letter : {'a', 'b', 'c', 'd', 'e', 'f'}) expected += std::string(20'000, letter);
  EXPECT_EQ(body, expected);
}

TEST_F(BodyPipeTest, makesShortPiecesNoLargerThanTheyNeedToBe) {
  pipe->take(bytesOf(std::string(100, 'x')));
  EXPECT_LT(pipe->next().piece.capacity(), 1000U);

  pipe->room(1'000'000);
  pipe->filled(100);
  EXPECT_LT(pipe->next().piece.capacity(), 1000U);
}

TEST_F(BodyPipeTest, tellsItsConsumerOnce) {
  int told = 0;
  pipe->whenReady(DispatchQueue::global(), [&] { ++told; });
  EXPECT_TRUE(owner->submitted.empty());

  pipe->take(bytesOf("one"));
  pipe->take(bytesOf("two"));

  ASSERT_EQ(owner->submitted.size(), 1U);
  owner->submitted.front()();
  EXPECT_EQ(told, 1);
}

TEST_F(BodyPipeTest, tellsItsConsumerOfTheEnd) {
  pipe->whenReady(DispatchQueue::global(), [] {});

  pipe->finish(Error("test", 1, "broken"));

  EXPECT_EQ(owner->submitted.size(), 1U);
  const auto step = pipe->next();
  EXPECT_EQ(step.status, Status::failed);
  EXPECT_EQ(step.error->message(), "broken");
}

TEST_F(BodyPipeTest, givesWhatArrivedBeforeAFailure) {
  pipe->take(bytesOf("some"));
  pipe->finish(Error("test", 1, "broken"));

  EXPECT_EQ(pipe->next().piece.text(), "some");
  EXPECT_EQ(pipe->next().status, Status::failed);
}

TEST_F(BodyPipeTest, dropsWhatArrivedBeforeACancellation) {
  pipe->take(bytesOf("some"));
  pipe->drop(Error("test", 1, "cancelled"));

  EXPECT_EQ(pipe->next().status, Status::failed);
  EXPECT_EQ(pipe->next().error->message(), "cancelled");
}

TEST_F(BodyPipeTest, givesUpWithoutAConsumer) {
  pipe->abandon();
  EXPECT_EQ(owner->givenUp, 1);

  pipe->finish(std::nullopt);
  pipe->abandon();
  EXPECT_EQ(owner->givenUp, 1);
}

/// Gigabytes fit in a few bytes: they are decoded as they are asked for.
TEST_F(BodyPipeTest, decodesNoMoreThanIsAskedFor) {
  const std::string bomb = corvane::testkit::gzipped(std::string(20'000'000, '\0'));
  ASSERT_LT(bomb.size(), 30'000U);
  pipe = pipeOf("gzip");
  pipe->take(bytesOf(bomb));
  pipe->finish(std::nullopt);

  std::size_t decoded = 0;
  for (;;) {
    const auto step = pipe->next();
    if (step.status != Status::piece) {
      EXPECT_EQ(step.status, Status::end);
      break;
    }
    EXPECT_LE(step.piece.count(), 65536U);
    decoded += step.piece.count();
  }
  EXPECT_EQ(decoded, 20'000'000U);
}

TEST_F(BodyPipeTest, decodesCodingsOneAfterTheOther) {
  const std::string text = "what was encoded twice comes back";
  const std::string body = corvane::testkit::gzipped(lzwCompressed(text));
  pipe = pipeOf("compress, gzip");
  std::string decoded;
  for (const char& byte : body) {
    pipe->take(bytesOf({&byte, 1}));
    for (auto step = pipe->next(); step.status == Status::piece; step = pipe->next()) decoded += step.piece.view();
  }
  pipe->finish(std::nullopt);
  for (auto step = pipe->next(); step.status != Status::end; step = pipe->next()) {
    ASSERT_EQ(step.status, Status::piece);
    decoded += step.piece.view();
  }

  EXPECT_EQ(decoded, text);
}

TEST_F(BodyPipeTest, failsWhereTheContentIsDamagedOrEndsEarly) {
  pipe = pipeOf("gzip");
  pipe->take(bytesOf("no gzip"));
  EXPECT_EQ(pipe->next().error->code(), URLErrorCode::cannotDecodeContentData);
  EXPECT_EQ(owner->givenUp, 1);
  EXPECT_EQ(pipe->next().status, Status::failed);

  pipe = pipeOf("gzip");
  pipe->take(bytesOf(corvane::testkit::gzipped("text").substr(0, 12)));
  pipe->finish(std::nullopt);
  auto step = pipe->next();
  while (step.status == Status::piece) step = pipe->next();
  EXPECT_EQ(step.error->code(), URLErrorCode::cannotDecodeContentData);
}

TEST_F(BodyPipeTest, givesWhatWasDecodedBeforeAFailure) {
  pipe = pipeOf("gzip");
  pipe->take(bytesOf(corvane::testkit::gzipped("text") + "and what does not belong there"));

  const auto step = pipe->next();
  EXPECT_EQ(step.status, Status::piece);
  EXPECT_EQ(step.piece.text(), "text");
  EXPECT_EQ(pipe->next().error->code(), URLErrorCode::cannotDecodeContentData);
  EXPECT_EQ(owner->givenUp, 1);
}

TEST_F(BodyPipeTest, endsADecodedBodyBeyondItsLimit) {
  pipe = pipeOf("gzip", 100'000);
  pipe->take(bytesOf(corvane::testkit::gzipped(std::string(1'000'000, 'x'))));

  std::size_t decoded = 0;
  auto step = pipe->next();
  for (; step.status == Status::piece; step = pipe->next()) decoded += step.piece.count();

  EXPECT_EQ(step.error->code(), URLErrorCode::dataLengthExceedsMaximum);
  EXPECT_LE(decoded, 100'000U);
}

TEST_F(BodyPipeTest, givesNothingDecodedAfterACancellation) {
  pipe = pipeOf("gzip");
  pipe->take(bytesOf(corvane::testkit::gzipped(std::string(1'000'000, 'x'))));
  EXPECT_EQ(pipe->next().status, Status::piece);

  pipe->drop(Error("test", 1, "cancelled"));

  EXPECT_EQ(pipe->next().error->message(), "cancelled");
}

}  // namespace
}  // namespace platform::detail
