#include "Platform/Security/SHA256Digest.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Security/Internal/SHA256Hasher.hpp"

namespace platform {
namespace {

std::span<const std::byte> bytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

// FIPS 180-4, examples.
constexpr const char* ofNothing = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
constexpr const char* ofABC = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

TEST(SHA256DigestTest, isThatOfTheBytes) {
  EXPECT_EQ(SHA256Digest::of({}).hex(), ofNothing);
  EXPECT_EQ(SHA256Digest::of(bytesOf("abc")).hex(), ofABC);
}

TEST(SHA256DigestTest, isMadeOfPieces) {
  detail::SHA256Hasher hasher;
  hasher.add(bytesOf("a"));
  hasher.add({});
  hasher.add(bytesOf("bc"));

  EXPECT_EQ(hasher.finish(), SHA256Digest(ofABC));
}

TEST(SHA256DigestTest, isReadInEitherCase) {
  std::string upper = ofABC;
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));

  EXPECT_EQ(SHA256Digest(upper), SHA256Digest(ofABC));
  EXPECT_EQ(SHA256Digest(upper).hex(), ofABC);
  EXPECT_EQ(SHA256Digest(SHA256Digest(ofABC).bytes()), SHA256Digest(ofABC));
  EXPECT_FALSE(SHA256Digest(ofABC) == SHA256Digest(ofNothing));
}

TEST(SHA256DigestTest, refusesWhatIsNone) {
  for (const std::string& text : {std::string(), std::string("abc"), std::string(63, 'a'), std::string(65, 'a'),
                                  std::string(63, 'a') + "g", std::string(63, 'a') + " "}) {
    try {
      const SHA256Digest digest(text);
      ADD_FAILURE() << text << " became " << digest;
    } catch (const Error& error) {
      EXPECT_EQ(error.message(), "\"" + text + "\" is no SHA-256 digest: 64 hexadecimal digits are needed");
    }
  }
}

TEST(SHA256DigestTest, isPrinted) {
  std::ostringstream stream;
  stream << SHA256Digest(ofABC);
  EXPECT_EQ(stream.str(), ofABC);
}

}  // namespace
}  // namespace platform
