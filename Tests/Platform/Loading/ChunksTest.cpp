#include "Platform/Loading/Internal/Chunks.hpp"

#include <gtest/gtest.h>

namespace platform::detail {
namespace {

TEST(ChunksTest, areJoined) {
  EXPECT_EQ(joinedChunks("3\r\ntoo\r\n1\r\n \r\nA\r\n much more\r\n0\r\n\r\n"), "too  much more");
  EXPECT_EQ(joinedChunks("0\r\n\r\n"), "");
}

TEST(ChunksTest, mayHaveExtensionsAndTrailers) {
  EXPECT_EQ(joinedChunks("3;a=1\r\ntoo\r\n0004 ;b\r\nmuch\r\n0;c\r\nX-Sum: 7\r\nX-Two: 2\r\n\r\n"), "toomuch");
}

TEST(ChunksTest, mayBeFollowedByOtherBytes) { EXPECT_EQ(joinedChunks("1\r\nx\r\n0\r\n\r\nHTTP/1.1 200 OK"), "x"); }

TEST(ChunksTest, areAbsentWhenTheyAreCutOff) {
  const std::string_view whole = "3\r\ntoo\r\n0\r\nX-Sum: 7\r\n\r\n";
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_EQ(joinedChunks(whole.substr(0, length)), std::nullopt) << length;
  }
}

TEST(ChunksTest, areAbsentWhenTheyAreMalformed) {
  for (const char* bad : {"\r\n\r\n", "x\r\n\r\n", "-1\r\n\r\n", "3x\r\ntoo\r\n0\r\n\r\n", "2\r\ntoo\r\n0\r\n\r\n",
                          "3\ntoo\r\n0\r\n\r\n", "ffffffffffffffff\r\nx\r\n0\r\n\r\n",
                          "10000000000000000\r\nx\r\n0\r\n\r\n", "fffffffffffffffe\r\nx\r\n0\r\n\r\n"}) {
    EXPECT_EQ(joinedChunks(bad), std::nullopt) << bad;
  }
}

}  // namespace
}  // namespace platform::detail
