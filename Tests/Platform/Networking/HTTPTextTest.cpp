#include "Platform/Networking/HTTPText.hpp"

#include <gtest/gtest.h>

#include <string>

namespace platform::networking {
namespace {

TEST(HTTPTextTest, findsLineBreaksAndNULsAnywhere) {
  for (std::size_t length = 1; length < 40; ++length) {
    for (std::size_t place = 0; place < length; ++place) {
      for (int byte = 0; byte < 256; ++byte) {
        std::string text(length, 'x');
        text[place] = static_cast<char>(byte);
        EXPECT_EQ(detail::holdsLineBreakOrNUL(text), byte == 0 || byte == '\r' || byte == '\n') << place << " " << byte;
      }
    }
  }
}

}  // namespace
}  // namespace platform::networking
