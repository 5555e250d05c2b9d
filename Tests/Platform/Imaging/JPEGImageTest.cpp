#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "ImageExpectations.hpp"
#include "ImageSamples.hpp"

namespace {

using namespace samples;
using platform::Data;
using platform::UIImage;
using ::testing::HasSubstr;
namespace Code = platform::UIImageErrorCode;

/// 16 x 8 pixels: a block of one colour beside a block of another.
std::string twoBlocks(std::string_view left, std::string_view right) {
  return repeated(repeated(left, 8) + repeated(right, 8), 8);
}

const std::string red = bytes({250, 10, 20});
const std::string blue = bytes({30, 40, 240});
const std::string opaque = bytes({255});

std::string redAndBlue(JPEGScans scans = JPEGScans::one) {
  return jpeg({.width = 16, .scans = scans}, twoBlocks(red, blue));
}

/// The largest difference of a channel.
int distance(std::string_view left, std::string_view right) {
  if (left.size() != right.size()) return 256;
  int largest = 0;
  for (std::size_t index = 0; index < left.size(); ++index) {
    const auto at = [index](std::string_view text) { return static_cast<unsigned char>(text[index]); };
    largest = std::max(largest, std::abs(at(left) - at(right)));
  }
  return largest;
}

TEST(JPEGImageTest, readsGrey) {
  const std::string file = jpeg({.width = 16, .colours = JPEGColours::grey}, twoBlocks(bytes({130}), bytes({17})));

  EXPECT_EQ(pixels(file), twoBlocks(bytes({130, 130, 130, 255}), bytes({17, 17, 17, 255})));
}

TEST(JPEGImageTest, readsColours) { EXPECT_EQ(pixels(redAndBlue()), twoBlocks(red + opaque, blue + opaque)); }

TEST(JPEGImageTest, convertsYCbCr) {
  const std::string file = jpeg({.width = 16, .colours = JPEGColours::rgbAsYCbCr}, twoBlocks(red, blue));

  EXPECT_LE(distance(pixels(file), twoBlocks(red + opaque, blue + opaque)), 2);
}

TEST(JPEGImageTest, readsScansOfEveryKind) {
  EXPECT_EQ(pixels(redAndBlue(JPEGScans::progressive)), pixels(redAndBlue()));
  EXPECT_EQ(pixels(redAndBlue(JPEGScans::onePerChannel)), pixels(redAndBlue()));
}

TEST(JPEGImageTest, readsASizeThatIsNoMultipleOfABlock) {
  const UIImage image{Data(jpeg({.width = 5, .height = 3}, repeated(red, 15)))};

  EXPECT_EQ(image.width(), 5U);
  EXPECT_EQ(image.height(), 3U);
  EXPECT_EQ(image.pixels().text(), repeated(red + opaque, 15));
}

TEST(JPEGImageTest, takesInkAsAdobeWritesItWhereAdobeSaysSo) {
  const std::string file = jpeg({.width = 16, .colours = JPEGColours::cmyk},
                                twoBlocks(bytes({255, 128, 0, 255}), bytes({100, 200, 255, 51})));

  EXPECT_EQ(pixels(file), twoBlocks(bytes({255, 128, 0, 255}), bytes({20, 40, 51, 255})));
}

TEST(JPEGImageTest, takesInkAsInkWhereNoAdobeMarkerIs) {
  const std::string file = jpeg({.width = 16, .colours = JPEGColours::cmyk, .hasAdobeMarker = false},
                                twoBlocks(bytes({0, 127, 255, 0}), bytes({155, 55, 0, 204})));

  EXPECT_EQ(pixels(file), twoBlocks(bytes({255, 128, 0, 255}), bytes({20, 40, 51, 255})));
}

TEST(JPEGImageTest, convertsYCCK) {
  const std::string file = jpeg({.width = 16, .colours = JPEGColours::cmykAsYCCK},
                                twoBlocks(bytes({255, 128, 0, 255}), bytes({100, 200, 255, 51})));

  EXPECT_LE(distance(pixels(file), twoBlocks(bytes({255, 128, 0, 255}), bytes({20, 40, 51, 255}))), 2);
}

TEST(JPEGImageTest, isTurnedAsEXIFSays) {
  for (const bool isBigEndian : {false, true}) {
    const UIImage image{Data(jpeg({.width = 16, .exif = exif(6, isBigEndian)}, twoBlocks(red, blue)))};

    EXPECT_EQ(image.width(), 8U);
    EXPECT_EQ(image.height(), 16U);
    EXPECT_EQ(image.pixels().text(), repeated(red + opaque, 64) + repeated(blue + opaque, 64));
  }
}

TEST(JPEGImageTest, isReadInSpiteOfBytesBetweenItsSegments) {
  std::string file = redAndBlue();
  file.insert(file.find("\xFF\xDB"), "\x11\x22\x33");

  EXPECT_EQ(pixels(file), pixels(redAndBlue()));
}

TEST(JPEGImageTest, isRefusedWhenItIsCutShortAnywhere) {
  constexpr std::size_t shortest = 3;
  for (const auto scans : {JPEGScans::one, JPEGScans::onePerChannel, JPEGScans::progressive}) {
    const std::string whole = redAndBlue(scans);
    for (std::size_t size = shortest; size < whole.size(); ++size) {
      const platform::Error error = refusal(whole.substr(0, size));
      EXPECT_EQ(error.domain(), platform::UIImageErrorDomain);
      EXPECT_EQ(error.code(), Code::notDecodable) << size;
      EXPECT_THAT(error.message(), HasSubstr("The JPEG image cannot be read: ")) << size;
    }
  }
}

TEST(JPEGImageTest, isRefusedWhenItsCodesAreDamaged) {
  std::string noise;
  std::mt19937 random(1);
  for (int index = 0; index < 64 * 64; ++index) noise += static_cast<char>(random() & 0xFF);
  std::string file = jpeg({.width = 64, .height = 64, .colours = JPEGColours::grey}, noise);
  // A restart marker where none belongs.
  file.replace(file.size() / 2, 2, "\xFF\xD3");

  EXPECT_EQ(refusal(file).code(), Code::notDecodable);
}

TEST(JPEGImageTest, isRefusedWhenItIsOfAKindThatIsNotSupported) {
  std::string lossless = redAndBlue();
  lossless[lossless.find("\xFF\xC0") + 1] = '\xC3';
  std::string twelveBits = redAndBlue();
  twelveBits[twelveBits.find("\xFF\xC0") + 4] = 12;

  EXPECT_EQ(refusal(lossless).code(), Code::notDecodable);
  EXPECT_EQ(refusal(twelveBits).code(), Code::notDecodable);
}

TEST(JPEGImageTest, isRefusedWhenItHasEndlessScans) {
  const std::string file = redAndBlue(JPEGScans::onePerChannel);
  const std::size_t lastScan = file.rfind("\xFF\xDA");
  const std::string scan = file.substr(lastScan, file.size() - 2 - lastScan);

  const std::string hundred = file.substr(0, lastScan) + repeated(scan, 98) + "\xFF\xD9";
  const std::string more = file.substr(0, lastScan) + repeated(scan, 99) + "\xFF\xD9";

  EXPECT_EQ(pixels(hundred), pixels(file));
  EXPECT_EQ(refusal(more).message(), "The JPEG image cannot be read: it has more than 100 scans");
}

TEST(JPEGImageTest, survivesWhateverIsWrong) {
  std::mt19937 random(7);
  const std::string wholes[] = {
      redAndBlue(), redAndBlue(JPEGScans::progressive),
      jpeg({.width = 16, .colours = JPEGColours::cmykAsYCCK, .exif = exif(8)}, repeated("abcd", 128))};
  for (int round = 0; round < 3000; ++round) {
    std::string damaged = wholes[random() % std::size(wholes)];
    for (auto count = 1 + random() % 4; count > 0; --count) {
      damaged[2 + random() % (damaged.size() - 2)] = static_cast<char>(random() & 0xFF);
    }

    try {
      const UIImage image(Data(damaged), 1'000'000);
      ASSERT_EQ(image.pixels().size(), std::size_t{4} * image.width() * image.height());
    } catch (const platform::Error& error) {
      ASSERT_EQ(error.domain(), platform::UIImageErrorDomain);
    }
  }
}

}  // namespace
