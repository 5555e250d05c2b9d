#include "Corvane/Request/HTTPMediaType.hpp"

#include <gtest/gtest.h>

namespace corvane {
namespace {

/// Made before `main`, of a named value of another translation unit.
const HTTPMediaType madeEarly = HTTPMediaType::json;

TEST(HTTPMediaTypeTest, keepsAnyTextAsItIs) {
  for (const std::string text : {"", "text/csv", "Not A Type", "a/b; c=\"d\""}) {
    EXPECT_EQ(HTTPMediaType(text).rawValue(), text);
    EXPECT_EQ(HTTPMediaType(text).value(), text);
  }
}

TEST(HTTPMediaTypeTest, isMadeOfALiteralThatTheCompilerChecks) {
  const HTTPMediaType type = "text/csv; charset=utf-8";

  EXPECT_EQ(type.value(), "text/csv; charset=utf-8");
  EXPECT_TRUE(detail::isMediaType("application/vnd.api+json"));
  EXPECT_TRUE(detail::isMediaType("*/*"));
  EXPECT_TRUE(detail::isMediaType("text/csv ;header=present"));
  for (const char* wrong : {"", "csv", "/csv", "text/", "text/csv/x", "text /csv", "te xt/csv", "text/csv;\r\nX: y"})
    EXPECT_FALSE(detail::isMediaType(wrong)) << wrong;
}

TEST(HTTPMediaTypeTest, namesTheUsualOnes) {
  EXPECT_EQ(HTTPMediaType::json.value(), "application/json");
  EXPECT_EQ(HTTPMediaType::textPlain.value(), "text/plain");
  EXPECT_EQ(HTTPMediaType::multipartFormData.value(), "multipart/form-data");
  EXPECT_EQ(HTTPMediaType::applicationOctetStream.value(), "application/octet-stream");
  EXPECT_EQ(HTTPMediaType::imagePNG.value(), "image/png");
  EXPECT_EQ(HTTPMediaType::imageJPEG.value(), "application/jpeg");
  EXPECT_EQ(HTTPMediaType::pdf.value(), "application/pdf");
  EXPECT_EQ(HTTPMediaType::gzip.value(), "application/gzip");
  EXPECT_EQ(HTTPMediaType::xml.value(), "application/xml");
  EXPECT_EQ(HTTPMediaType::any.value(), "*/*");
}

TEST(HTTPMediaTypeTest, isEqualByItsText) {
  EXPECT_EQ(HTTPMediaType("application/json"), HTTPMediaType::json);
  EXPECT_NE(HTTPMediaType("Application/JSON"), HTTPMediaType::json);
}

TEST(HTTPMediaTypeTest, isThereBeforeMain) { EXPECT_EQ(madeEarly.value(), "application/json"); }

}  // namespace
}  // namespace corvane
