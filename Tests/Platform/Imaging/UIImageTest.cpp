#include "Platform/Imaging/UIImage.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

#include "ImageExpectations.hpp"
#include "ImageSamples.hpp"
#include "Velisand/DataRepresentable.hpp"

namespace {

using namespace samples;
using platform::Data;
using platform::UIImage;
namespace Code = platform::UIImageErrorCode;

static_assert(velisand::DataInitializable<UIImage>);

const std::string& threeByTwo() {
  static const std::string& file =
      *new std::string(png(pngHeader(3, 2, 8, PNGColour::grey), {bytes({1, 2, 3}), bytes({4, 5, 6})}));
  return file;
}

TEST(UIImageTest, hasASizeAndItsPixelsFromTheTop) {
  const UIImage image{Data(threeByTwo())};

  EXPECT_EQ(image.width(), 3U);
  EXPECT_EQ(image.height(), 2U);
  EXPECT_EQ(image.pixels(), Data(bytes({1, 1, 1, 255, 2, 2, 2, 255, 3, 3, 3, 255,  //
                                        4, 4, 4, 255, 5, 5, 5, 255, 6, 6, 6, 255})));
}

TEST(UIImageTest, sharesItsPixelsWithItsCopies) {
  UIImage image{Data(threeByTwo())};

  const UIImage copy = image;
  const UIImage moved = std::move(image);

  EXPECT_EQ(copy.pixels().bytes(), moved.pixels().bytes());
  EXPECT_EQ(image.pixels().bytes(), moved.pixels().bytes());  // NOLINT(bugprone-use-after-move): promised
}

TEST(UIImageTest, isEqualToAnImageOfTheSameSizeAndPixels) {
  const UIImage image{Data(threeByTwo())};
  const std::vector<std::string> rows = {bytes({1, 2}), bytes({3, 4}), bytes({5, 6})};
  const UIImage narrower{Data(png(pngHeader(2, 3, 8, PNGColour::grey), rows))};

  EXPECT_EQ(image, UIImage{Data(threeByTwo())});
  EXPECT_EQ(image.pixels(), narrower.pixels());
  EXPECT_NE(image, narrower);
}

TEST(UIImageTest, isMadeOfTheBodyOfAResponse) {
  const auto image = velisand::fromData<UIImage>(Data(threeByTwo()));

  EXPECT_EQ(image.width(), 3U);
}

TEST(UIImageTest, refusesWhatIsNoImage) {
  EXPECT_EQ(refusal("").code(), Code::unknownFormat);
  EXPECT_EQ(refusal("").message(), "There is no image: the data is empty");
  for (const std::string text : {"<html></html>", "GIF89a", "\x89PNG\n", "\xFF\xD8", "RIFF\1\1\1\1WEBPVP8 "}) {
    const platform::Error error = refusal(text);
    EXPECT_EQ(error.domain(), platform::UIImageErrorDomain);
    EXPECT_EQ(error.code(), Code::unknownFormat);
    EXPECT_EQ(error.message(), "The data is neither a PNG nor a JPEG image");
  }
}

TEST(UIImageTest, refusesMorePixelsThanAllowed) {
  EXPECT_NO_THROW(UIImage(Data(threeByTwo()), 6));
  EXPECT_EQ(refusal(threeByTwo(), 5).code(), Code::tooLarge);
  EXPECT_EQ(refusal(threeByTwo(), 5).message(), "The image has 3 x 2 pixels, more than the 5 allowed");
}

TEST(UIImageTest, takesNoMemoryForThePixelsOfAnImageThatIsTooLarge) {
  const std::string hugePNG = png(pngHeader(1'000'000, 1'000'000, 16, PNGColour::rgba), {"few"});
  std::string hugeJPEG = jpeg({.colours = JPEGColours::grey}, std::string(64, 'x'));
  const std::size_t frame = hugeJPEG.find("\xFF\xC0");
  hugeJPEG.replace(frame + 5, 4, "\xFF\xDC\xFF\xDC");

  EXPECT_EQ(refusal(hugePNG).message(), "The image has 1000000 x 1000000 pixels, more than the 100000000 allowed");
  EXPECT_EQ(refusal(hugePNG, UINT64_MAX).code(), Code::tooLarge);
  EXPECT_EQ(refusal(hugeJPEG).message(), "The image has 65500 x 65500 pixels, more than the 100000000 allowed");
  EXPECT_EQ(refusal(hugeJPEG, UINT64_MAX).code(), Code::tooLarge);
}

}  // namespace
