#include "Corvane/Transfers/HTTPFormData.hpp"

#include <gtest/gtest.h>

#include <filesystem>

#include "Corvane/Transfers/MultipartError.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace corvane {
namespace {

using platform::Data;
using platform::URL;

struct Profile {
  std::string login;
};

std::string bytesOf(platform::URLBodyStream& stream) {
  const auto pass = stream.open();
  std::string text;
  while (const auto piece = pass->next()) text += piece->view();
  return text;
}

template <class F>
MultipartError errorOf(F function) {
  try {
    function();
  } catch (const MultipartError& error) {
    return error;
  }
  throw std::runtime_error("nothing was thrown");
}

HTTPFormData formOf(std::initializer_list<HTTPFormPart> parts) {
  HTTPFormData form = HTTPFormData::withBoundary("B");
  for (const HTTPFormPart& part : parts) form.append(part);
  return form;
}

class HTTPFormDataTest : public ::testing::Test {
 protected:
  URL file(std::string_view name, std::string_view content) const { return URL::file(files.write(name, content)); }

  testkit::TemporaryDirectory files;
};

TEST_F(HTTPFormDataTest, writesTheLayoutOfBrowsers) {
  const HTTPFormData form = formOf({{"title", "Visits"},
                                    {"profile", Profile{"ada"}, {.contentType = HTTPMediaType::json}},
                                    {"data", Data("bytes"), {.fileName = "a.bin", .headers = {{"X-A", "1"}}}}});

  EXPECT_EQ(form.asData().text(),
            "--B\r\n"
            "Content-Disposition: form-data; name=\"title\"\r\n"
            "\r\n"
            "Visits\r\n"
            "--B\r\n"
            "Content-Disposition: form-data; name=\"profile\"\r\n"
            "Content-Type: application/json\r\n"
            "\r\n"
            "{\"login\":\"ada\"}\r\n"
            "--B\r\n"
            "Content-Disposition: form-data; name=\"data\"; filename=\"a.bin\"\r\n"
            "X-A: 1\r\n"
            "\r\n"
            "bytes\r\n"
            "--B--\r\n");
  EXPECT_EQ(form.bodyStream(), nullptr);
  EXPECT_EQ(form.contentType().value(), "multipart/form-data; boundary=B");
}

TEST_F(HTTPFormDataTest, readsFilesAsAStreamOfKnownLength) {
  const HTTPFormData form = formOf({{"a", "1"}, {"photo", file("ada.jpeg", "pixels")}, {"b", "2"}});

  const auto stream = form.bodyStream();

  ASSERT_TRUE(stream);
  const std::string expected =
      "--B\r\n"
      "Content-Disposition: form-data; name=\"a\"\r\n"
      "\r\n"
      "1\r\n"
      "--B\r\n"
      "Content-Disposition: form-data; name=\"photo\"; filename=\"ada.jpeg\"\r\n"
      "Content-Type: image/jpeg\r\n"
      "\r\n"
      "pixels\r\n"
      "--B\r\n"
      "Content-Disposition: form-data; name=\"b\"\r\n"
      "\r\n"
      "2\r\n"
      "--B--\r\n";
  EXPECT_EQ(bytesOf(*stream), expected);
  EXPECT_EQ(stream->length(), expected.size());
  EXPECT_TRUE(stream->isRepeatable());
  EXPECT_EQ(bytesOf(*stream), expected);
}

TEST_F(HTTPFormDataTest, takesPathsAndProducers) {
  const HTTPFormPart path("p", std::filesystem::path(files.write("a.txt", "x")), {.fileName = "other"});
  const HTTPFormPart producer(
      "q", HTTPBodyProducer([n = 0]() mutable { return n++ < 2 ? std::optional(Data("y")) : std::nullopt; }));

  EXPECT_EQ(path.head(),
            "Content-Disposition: form-data; name=\"p\"; filename=\"other\"\r\nContent-Type: text/plain\r\n");
  EXPECT_EQ(producer.head(),
            "Content-Disposition: form-data; name=\"q\"\r\nContent-Type: application/octet-stream\r\n");
  const auto stream = formOf({path, producer}).bodyStream();
  EXPECT_EQ(stream->length(), std::nullopt);
  EXPECT_FALSE(stream->isRepeatable());
}

TEST_F(HTTPFormDataTest, escapesNamesAsBrowsersDo) {
  EXPECT_EQ(HTTPFormPart("a\"b%22", "", {.fileName = "c\"\rd\n"}).head(),
            "Content-Disposition: form-data; name=\"a%22b%22\"; filename=\"c%22%0Dd%0A\"\r\n");
  EXPECT_EQ(HTTPFormPart("1\r2\n3\r\n4\n\r", "").head(),
            "Content-Disposition: form-data; name=\"1%0D%0A2%0D%0A3%0D%0A4%0D%0A%0D%0A\"\r\n");
  EXPECT_EQ(HTTPFormPart("näme 名\\", "").head(), "Content-Disposition: form-data; name=\"näme 名\\\"\r\n");
}

TEST_F(HTTPFormDataTest, keepsValuesAsTheyAre) {
  EXPECT_NE(formOf({{"a", "1\n2\r3"}}).asData().text().find("\r\n\r\n1\n2\r3\r\n--B--"), std::string::npos);
}

TEST_F(HTTPFormDataTest, refusesFieldsThatCannotBeSent) {
  const auto refused = [](const HTTPFormPartOptions& options) {
    return errorOf([&] { HTTPFormPart("a", "1", options); });
  };

  EXPECT_EQ(refused({.headers = {{"X A", "1"}}}).which(), MultipartError::Case::invalidField);
  EXPECT_EQ(refused({.headers = {{"X-A", "1\r\nX-B: 2"}}}).text(), "X-A");
  EXPECT_EQ(refused({.contentType = HTTPMediaType(std::string("text/plain\r\n"))}).text(), "Content-Type");
  EXPECT_EQ(
      refused({.headers = {{"content-disposition", "x"}}}).message(),
      "The header field \"content-disposition\" of a part of a form cannot be sent: It is made of the name of the "
      "part.");
  EXPECT_EQ(refused({.contentType = HTTPMediaType::json, .headers = {{"content-type", "text/plain"}}}).text(),
            "content-type");
  EXPECT_EQ(errorOf([] { HTTPFormPart(std::string("a\0b", 3), "1"); }).which(), MultipartError::Case::invalidField);
}

TEST_F(HTTPFormDataTest, takesAContentTypeAmongItsFields) {
  EXPECT_EQ(HTTPFormPart("a", file("a.txt", ""), {.headers = {{"Content-Type", "text/csv"}}}).head(),
            "Content-Disposition: form-data; name=\"a\"; filename=\"a.txt\"\r\nContent-Type: text/csv\r\n");
}

TEST_F(HTTPFormDataTest, hasABoundaryOfItsOwnThatCopiesShare) {
  const HTTPFormData one;
  const HTTPFormData other;
  const HTTPFormData copy = one;

  EXPECT_NE(one.boundary(), other.boundary());
  EXPECT_EQ(one.boundary(), copy.boundary());
  EXPECT_LE(one.boundary().size(), 70U);
  EXPECT_EQ(one.contentType().value(), "multipart/form-data; boundary=" + one.boundary());
  EXPECT_EQ(HTTPFormData::withBoundary(one.boundary()).boundary(), one.boundary());
}

TEST_F(HTTPFormDataTest, changesARandomBoundaryThatOccursInAValue) {
  HTTPFormData form;
  const std::string before = form.boundary();

  form.append({"a", "x" + before + "x"});

  EXPECT_NE(form.boundary(), before);
  EXPECT_NE(form.asData().text().find("--" + form.boundary() + "--"), std::string::npos);
}

TEST_F(HTTPFormDataTest, refusesAValueWithItsOwnBoundary) {
  HTTPFormData form = HTTPFormData::withBoundary("frontier");

  const MultipartError error = errorOf([&] { form.append({"a", "the frontier"}); });

  EXPECT_EQ(error.message(), MultipartError::boundaryInContent("a").message());
  EXPECT_TRUE(form.parts().empty());
}

TEST_F(HTTPFormDataTest, refusesWhatIsNoBoundary) {
  for (const std::string& text : {std::string(), std::string(71, 'a'), std::string("a b"), std::string("a\r\nb")}) {
    EXPECT_EQ(errorOf([&] { HTTPFormData::withBoundary(text); }).which(), MultipartError::Case::invalidBoundary);
  }
  EXPECT_EQ(HTTPFormData::withBoundary("a=b").contentType().value(), "multipart/form-data; boundary=\"a=b\"");
}

TEST_F(HTTPFormDataTest, failsForAFileThatIsNotThere) {
  const HTTPFormData form = formOf({{"a", URL::file("/nonexistent/file")}});

  try {
    form.bodyStream();
    FAIL() << "no error";
  } catch (const platform::Error& error) {
    EXPECT_EQ(error.code(), platform::URLErrorCode::fileDoesNotExist);
  }
}

TEST_F(HTTPFormDataTest, isAClosingLineWithoutParts) { EXPECT_EQ(formOf({}).asData().text(), "--B--\r\n"); }

}  // namespace
}  // namespace corvane
