#include "Platform/Loading/Internal/BodyPass.hpp"

#include <gtest/gtest.h>

#include "CorvaneTesting/Expectation.hpp"
#include "UploadStreams.hpp"

namespace platform::detail {
namespace {

TEST(BodyPassTest, doesNotOpenItsStreamOnceItIsClosed) {
  const DispatchQueue queue("BodyPassTest");
  const auto body = MadeBody::of({"bytes"});
  const auto pass = std::make_shared<BodyPass>(body, queue);
  const corvane::testkit::Expectation<void> mayGoOn;
  queue.async([mayGoOn] { mayGoOn.wait(); });
  const corvane::testkit::Expectation<BodyPiece> piece;
  pass->pull([piece](BodyPiece one) { piece.fulfil(std::move(one)); });

  pass->close();
  mayGoOn.fulfil();

  EXPECT_FALSE(piece.wait().bytes);
  EXPECT_EQ(body->passes(), 0);
}

}  // namespace
}  // namespace platform::detail
