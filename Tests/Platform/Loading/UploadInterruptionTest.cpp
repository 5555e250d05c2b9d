#include "TransferTest.hpp"

namespace platform {
namespace {

using corvane::testkit::MockResponse;
using corvane::testkit::Moment;

/// What servers do while the body is still on its way to them. Far more of it than the system takes at once.
class UploadInterruptionTest : public TransferTest {
 protected:
  static constexpr std::size_t size = 32 << 20;

  Loaded put(std::string_view target) {
    return upload(request(server.url(target), "PUT"), file("body", std::string(size, 'x')));
  }
};

TEST_F(UploadInterruptionTest, endsWhenTheServerSaysNothingMoreAndReadsOn) {
  server.enqueue(MockResponse(200).halfClose(Moment::insideRequestBody));

  const Loaded loaded = put("/");

  EXPECT_EQ(loaded.code(), URLErrorCode::networkConnectionLost) << loaded.message();
}

TEST_F(UploadInterruptionTest, ofBytesEndsTheSameWay) {
  server.enqueue(MockResponse(200).halfClose(Moment::insideRequestBody));

  const Loaded loaded = upload(request(server.url("/"), "POST"), Data(std::string(size, 'x')));

  EXPECT_EQ(loaded.code(), URLErrorCode::networkConnectionLost) << loaded.message();
}

TEST_F(UploadInterruptionTest, deliversAnEarlySuccessOfAServerThatThenSaysNothingMore) {
  server.enqueue(MockResponse(200).body("enough").beforeRequestBody().halfClose(Moment::afterResponse));

  const Loaded loaded = put("/");

  EXPECT_EQ(loaded.status(), 200);
  EXPECT_EQ(loaded.body(), "enough");
  EXPECT_FALSE(loaded.error) << loaded.message();
}

TEST_F(UploadInterruptionTest, deliversAnEarlySuccessOfAServerThatReadsOn) {
  server.enqueue(MockResponse(200).body("thanks").beforeRequestBody());

  const Loaded loaded = put("/");

  EXPECT_EQ(loaded.status(), 200);
  EXPECT_EQ(loaded.body(), "thanks");
  EXPECT_FALSE(loaded.error) << loaded.message();
}

TEST_F(UploadInterruptionTest, isLostWhenTheServerEndsTheConnection) {
  for (const auto ending : {corvane::testkit::Ending::close, corvane::testkit::Ending::reset}) {
    server.enqueue(MockResponse(200).end(ending, Moment::insideRequestBody));

    EXPECT_EQ(put("/").code(), URLErrorCode::networkConnectionLost);
  }
}

}  // namespace
}  // namespace platform
