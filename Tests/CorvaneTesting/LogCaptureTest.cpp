#include "CorvaneTesting/LogCapture.hpp"

#include "Vantorel/Logger.hpp"

namespace corvane::testkit {
namespace {

using ::testing::ElementsAre;

bool always(const vantorel::LogRecord&) { return true; }

TEST(LogCaptureTest, keepsWhatIsLoggedWhileItLives) {
  const vantorel::Logger logger("org.corvane.test", always);
  const LogCapture outer;
  logger.info("before");
  {
    const LogCapture inner;
    logger.error("meanwhile");

    EXPECT_THAT(inner.messages(), ElementsAre("meanwhile"));
  }
  logger.info("after");

  EXPECT_THAT(outer.messages(), ElementsAre("before", "after"));
  EXPECT_EQ(outer->records().front().level, vantorel::LogLevel::info);
}

}  // namespace
}  // namespace corvane::testkit
