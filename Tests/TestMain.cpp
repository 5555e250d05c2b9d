#include <gmock/gmock.h>
#include <gtest/gtest.h>

/// Death tests run their statement in a process of its own. A forked child would have the locks that other threads held
/// at that moment, and none of the threads that give them back.
int main(int count, char** arguments) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  testing::InitGoogleMock(&count, arguments);
  return RUN_ALL_TESTS();
}
