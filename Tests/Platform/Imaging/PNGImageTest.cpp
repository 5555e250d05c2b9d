#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ImageExpectations.hpp"
#include "ImageSamples.hpp"

namespace {

using namespace samples;
using platform::Data;
using platform::UIImage;
using ::testing::HasSubstr;
namespace Code = platform::UIImageErrorCode;

const std::string black = bytes({0, 0, 0, 255});
const std::string white = bytes({255, 255, 255, 255});

std::string grey(int value) { return bytes({value, value, value, 255}); }

/// Six pixels in two rows, each another colour.
std::string sixColours(std::string_view chunks = {}) {
  return png(pngHeader(3, 2, 8, PNGColour::grey), {bytes({1, 2, 3}), bytes({4, 5, 6})}, chunks);
}

TEST(PNGImageTest, readsColoursWithAndWithoutAlpha) {
  EXPECT_EQ(pixels(png(pngHeader(2, 1, 8, PNGColour::rgb), {bytes({10, 20, 30, 40, 50, 60})})),
            bytes({10, 20, 30, 255, 40, 50, 60, 255}));
  EXPECT_EQ(pixels(png(pngHeader(2, 1, 8, PNGColour::rgba), {bytes({200, 100, 50, 128, 9, 8, 7, 0})})),
            bytes({200, 100, 50, 128, 9, 8, 7, 0}));
}

TEST(PNGImageTest, readsGreyOfEveryDepth) {
  EXPECT_EQ(pixels(png(pngHeader(3, 1, 1, PNGColour::grey), {bytes({0b1010'0000})})), white + black + white);
  EXPECT_EQ(pixels(png(pngHeader(4, 1, 2, PNGColour::grey), {bytes({0b0001'1011})})),
            grey(0) + grey(85) + grey(170) + grey(255));
  EXPECT_EQ(pixels(png(pngHeader(2, 1, 4, PNGColour::grey), {bytes({0x1E})})), grey(17) + grey(238));
  EXPECT_EQ(pixels(png(pngHeader(2, 1, 8, PNGColour::grey), {bytes({7, 77})})), grey(7) + grey(77));
  EXPECT_EQ(pixels(png(pngHeader(2, 1, 8, PNGColour::greyAlpha), {bytes({7, 99, 77, 0})})),
            bytes({7, 7, 7, 99, 77, 77, 77, 0}));
}

TEST(PNGImageTest, roundsSixteenBitsToEight) {
  EXPECT_EQ(pixels(png(pngHeader(2, 1, 16, PNGColour::grey), {bytes({0x12, 0x34, 0x12, 0xC0})})), grey(18) + grey(19));
  EXPECT_EQ(
      pixels(png(pngHeader(1, 1, 16, PNGColour::rgba), {bytes({0xFF, 0xFF, 0x80, 0x80, 0x00, 0x7F, 0x40, 0x40})})),
      bytes({255, 128, 0, 64}));
}

TEST(PNGImageTest, looksColoursUpInThePalette) {
  const std::string palette = pngChunk("PLTE", bytes({1, 2, 3, 40, 50, 60, 255, 128, 0}));

  const std::string plain = png(pngHeader(3, 1, 2, PNGColour::palette), {bytes({0b1000'0100})}, palette);
  const std::string withAlpha =
      png(pngHeader(3, 1, 8, PNGColour::palette), {bytes({0, 1, 2})}, palette + pngChunk("tRNS", bytes({0, 77})));

  EXPECT_EQ(pixels(plain), bytes({255, 128, 0, 255, 1, 2, 3, 255, 40, 50, 60, 255}));
  EXPECT_EQ(pixels(withAlpha), bytes({1, 2, 3, 0, 40, 50, 60, 77, 255, 128, 0, 255}));
}

TEST(PNGImageTest, makesTheOneTransparentColourTransparent) {
  EXPECT_EQ(pixels(png(pngHeader(2, 1, 8, PNGColour::grey), {bytes({7, 8})}, pngChunk("tRNS", bytes({0, 8})))),
            bytes({7, 7, 7, 255, 8, 8, 8, 0}));
  EXPECT_EQ(pixels(png(pngHeader(2, 1, 8, PNGColour::rgb), {bytes({1, 2, 3, 1, 2, 4})},
                       pngChunk("tRNS", bytes({0, 1, 0, 2, 0, 3})))),
            bytes({1, 2, 3, 0, 1, 2, 4, 255}));
}

TEST(PNGImageTest, convertsColoursOfAnotherGamma) {
  const std::string linear = pngChunk("gAMA", bytes({0, 1, 0x86, 0xA0}));

  // (128/255)^(1/2.2) = 186/255.
  EXPECT_EQ(pixels(png(pngHeader(3, 1, 8, PNGColour::grey), {bytes({0, 128, 255})}, linear)),
            grey(0) + grey(186) + grey(255));
}

TEST(PNGImageTest, readsInterlacedRows) {
  // The pixels of a 3 x 3 picture in the order of the seven passes, of which the second and the third are empty.
  const std::vector<std::string> passes = {bytes({1}), bytes({3}), bytes({7, 9}),
                                           bytes({2}), bytes({8}), bytes({4, 5, 6})};

  EXPECT_EQ(pixels(png(pngHeader(3, 3, 8, PNGColour::grey, true), passes)),
            grey(1) + grey(2) + grey(3) + grey(4) + grey(5) + grey(6) + grey(7) + grey(8) + grey(9));
}

TEST(PNGImageTest, isTurnedAsEXIFSays) {
  const std::vector<std::pair<std::string, std::uint32_t>> expected = {{"123456", 3}, {"321654", 3}, {"654321", 3},
                                                                       {"456123", 3}, {"142536", 2}, {"415263", 2},
                                                                       {"635241", 2}, {"362514", 2}};
  for (int orientation = 1; orientation <= 8; ++orientation) {
    const auto& [order, width] = expected[static_cast<std::size_t>(orientation - 1)];

    const UIImage image{Data(sixColours(pngChunk("eXIf", exif(orientation, orientation % 2 == 0))))};

    std::string turned;
    for (const char place : order) turned += grey(place - '0');
    EXPECT_EQ(image.pixels().text(), turned) << orientation;
    EXPECT_EQ(image.width(), width) << orientation;
    EXPECT_EQ(image.height(), 6 / width) << orientation;
  }
}

TEST(PNGImageTest, isAsStoredWhereTheOrientationCannotBeTold) {
  const std::string whole = exif(3);
  std::vector<std::string> unusable = {exif(0), exif(9), "XX" + whole.substr(2),
                                       whole.substr(0, 4) + "\xFF\xFF\xFF\xFF"};
  for (std::size_t size = 0; size < whole.size() - 4; ++size) unusable.push_back(whole.substr(0, size));
  std::string damaged = pngChunk("eXIf", whole);
  damaged.back() ^= 1;

  for (const auto& content : unusable) EXPECT_EQ(pixels(sixColours(pngChunk("eXIf", content))), pixels(sixColours()));
  EXPECT_EQ(pixels(sixColours(damaged)), pixels(sixColours()));
}

TEST(PNGImageTest, isRefusedWhenItIsCutShortAnywhere) {
  const std::string whole =
      png(pngHeader(3, 2, 8, PNGColour::grey, true), {bytes({1}), bytes({3}), bytes({2}), bytes({4, 5, 6})});
  ASSERT_NO_THROW(pixels(whole));

  for (std::size_t size = pngSignature.size(); size < whole.size(); ++size) {
    const platform::Error error = refusal(whole.substr(0, size));
    EXPECT_EQ(error.code(), Code::notDecodable) << size;
    EXPECT_EQ(error.message(), "The PNG image cannot be read: it is cut short") << size;
  }
}

TEST(PNGImageTest, isRefusedWhenRowsAreMissing) {
  const platform::Error error = refusal(png(pngHeader(3, 2, 8, PNGColour::grey), {bytes({1, 2, 3})}));

  EXPECT_EQ(error.domain(), platform::UIImageErrorDomain);
  EXPECT_EQ(error.code(), Code::notDecodable);
  EXPECT_THAT(error.message(), HasSubstr("The PNG image cannot be read: "));
}

TEST(PNGImageTest, neverShowsAnotherPictureWhenABitIsWrong) {
  const std::string whole = sixColours();
  const std::string shown = pixels(whole);
  int refusals = 0;
  for (std::size_t bit = 0; bit < whole.size() * 8; ++bit) {
    std::string damaged = whole;
    damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));

    try {
      EXPECT_EQ(pixels(damaged), shown) << bit;
    } catch (const platform::Error& error) {
      EXPECT_EQ(error.domain(), platform::UIImageErrorDomain);
      ++refusals;
    }
  }

  // All but the last four bytes, the checksum of an empty chunk after the picture.
  EXPECT_GE(refusals, static_cast<int>(whole.size() - 4) * 8);
}

TEST(PNGImageTest, isRefusedWhenItsHeaderMakesNoSense) {
  for (const auto& header :
       {pngHeader(0, 1, 8, PNGColour::grey), pngHeader(1, 0, 8, PNGColour::grey), pngHeader(1, 1, 3, PNGColour::grey),
        pngHeader(1, 1, 4, PNGColour::rgb), pngHeader(1, 1, 8, PNGColour{5}),
        pngHeader(0xFFFFFFFF, 1, 8, PNGColour::grey), pngHeader(1, 1, 8, PNGColour::palette)}) {
    EXPECT_EQ(refusal(png(header, {bytes({1, 2, 3})})).code(), Code::notDecodable);
  }
}

}  // namespace
