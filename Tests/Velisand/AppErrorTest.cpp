#include "Velisand/AppError.hpp"

#include <gtest/gtest.h>

namespace velisand {
namespace {

using platform::Dictionary;
using platform::Error;

class OutOfPaper final : public AppError<OutOfPaper> {
 public:
  explicit OutOfPaper(int tray) : tray_(tray) {}
  std::string message() const override { return "Tray " + std::to_string(tray_) + " is out of paper"; }
  int tray() const { return tray_; }

 private:
  int tray_;
};

TEST(AppErrorTest, tellsItsMessageInItsUserInformation) {
  EXPECT_EQ(OutOfPaper(2).errorUserInfo(), (Dictionary{{"NSLocalizedDescription", "Tray 2 is out of paper"}}));
}

TEST(AppErrorTest, isFoundInsideAnErrorByItsType) {
  const Error error = OutOfPaper(2);

  ASSERT_TRUE(error.is<OutOfPaper>());
  EXPECT_EQ(error.as<OutOfPaper>()->tray(), 2);
  EXPECT_EQ(error.message(), "Tray 2 is out of paper");
  EXPECT_EQ(error.code(), 0);
}

TEST(AppErrorTest, keepsItsTypeWhenItIsThrownAndCaughtAsAnError) {
  try {
    throw OutOfPaper(3);
  } catch (...) {
    const auto error = Error::current();
    ASSERT_TRUE(error.is<OutOfPaper>());
    EXPECT_EQ(error.as<OutOfPaper>()->tray(), 3);
  }
}

}  // namespace
}  // namespace velisand
