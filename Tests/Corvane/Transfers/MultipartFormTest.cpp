#include "Corvane/Transfers/MultipartForm.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Corvane/Transfers/MultipartError.hpp"
#include "Platform/Foundation/Error.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace corvane {
namespace {

using platform::Data;
using platform::Error;
using std::filesystem::path;

static_assert(velisand::DataRepresentable<MultipartForm>);

struct Unwritable {
  Data asData() const { throw Error("Test", 7, "no bytes"); }
};

/// The text with each "B" replaced by the boundary.
std::string withBoundary(const std::string& text) {
  std::string result;
  for (const char character : text) {
    if (character == 'B') {
      result += boundaryText();
    } else {
      result += character;
    }
  }
  return result;
}

TEST(MultipartFormTest, closesAnEmptyForm) {
  EXPECT_EQ(MultipartForm().asData().text(), withBoundary("\r\n--B--\r\n"));
  EXPECT_EQ(MultipartForm{}.asData().text(), withBoundary("\r\n--B--\r\n"));
  EXPECT_EQ(MultipartForm(std::vector<MultipartFormSection>()).asData().text(), withBoundary("\r\n--B--\r\n"));
}

TEST(MultipartFormTest, writesOneSection) {
  const MultipartForm form{{"a", "x"}};

  EXPECT_EQ(form.asData().text(), withBoundary("--B\r\n"
                                               "Content-Disposition: form-data; name=\"a\"\r\n\r\nx"
                                               "\r\n--B--\r\n"));
}

TEST(MultipartFormTest, startsEveryLaterSectionOnANewLine) {
  const testkit::TemporaryDirectory directory;
  const MultipartForm form{
      {"a", "x"}, {"c", path(directory.write("c.txt", "hello"))}, {"d", "{}", HTTPMediaType::json}};

  EXPECT_EQ(form.asData().text(), withBoundary("--B\r\n"
                                               "Content-Disposition: form-data; name=\"a\"\r\n\r\nx"
                                               "\r\n--B\r\n"
                                               "Content-Disposition: form-data; name=\"c\"\r\n; filename=\"c.txt\"\r\n"
                                               "Content-Type: text/plain\r\nhello"
                                               "\r\n--B\r\n"
                                               "Content-Disposition: form-data; name=\"d\"\r\n\r\n"
                                               "Content-Type: application/json\r\n{}"
                                               "\r\n--B--\r\n"));
}

TEST(MultipartFormTest, keepsSectionsInOrderAndRepeatedNames) {
  const MultipartForm form{{"b", "1"}, {"a", "2"}, {"b", "3"}};

  EXPECT_EQ(form.asData().text(), withBoundary("--B\r\nContent-Disposition: form-data; name=\"b\"\r\n\r\n1"
                                               "\r\n--B\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n2"
                                               "\r\n--B\r\nContent-Disposition: form-data; name=\"b\"\r\n\r\n3"
                                               "\r\n--B--\r\n"));
}

TEST(MultipartFormTest, writesBytesAsTheyAre) {
  const std::string binary("\0\r\n--\xFF\r", 7);
  const MultipartForm form{{"a", Data(binary)}};

  EXPECT_EQ(form.asData().text(),
            withBoundary("--B\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n" + binary + "\r\n--B--\r\n"));
}

TEST(MultipartFormTest, writesTheLinesOfItsGenerator) {
  MultipartForm form{{"a", "x"}};
  EXPECT_EQ(form.boundaryGeneratory.returnChars, "\r\n");
  EXPECT_EQ(form.boundaryGeneratory.boundary, boundaryText());

  form.boundaryGeneratory = {.returnChars = "\r\n", .boundary = "other"};

  EXPECT_EQ(form.asData(), Data("--other\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\nx\r\n--other--\r\n"));
}

TEST(MultipartFormTest, isWhatAListOfSectionsMeans) {
  const std::vector<MultipartFormSection> sections{{"a", "x"}, {"c", "y"}};

  EXPECT_EQ(velisand::asData(sections), MultipartForm(sections).asData());
  EXPECT_EQ(velisand::asData(std::vector<MultipartFormSection>()), MultipartForm().asData());
}

TEST(MultipartFormTest, readsFilesWhenItsBytesAreMade) {
  const testkit::TemporaryDirectory directory;
  const MultipartForm form{{"a", directory / "later.txt"}};
  EXPECT_THROW(form.asData(), Error);

  directory.write("later.txt", "now");

  EXPECT_EQ(form.asData().text(),
            withBoundary("--B\r\nContent-Disposition: form-data; name=\"a\"\r\n"
                         "; filename=\"later.txt\"\r\nContent-Type: text/plain\r\nnow\r\n--B--\r\n"));
}

TEST(MultipartFormTest, passesOnTheFailureOfAnySection) {
  const MultipartForm unwritable{{"a", "x"}, {"b", Unwritable()}};
  const MultipartForm forged{{"a", "x"}, {"b\r\nX-Forged: 1", "y"}};

  EXPECT_THROW(unwritable.asData(), Error);
  EXPECT_THROW(forged.asData(), MultipartError);
}

TEST(MultipartFormTest, refusesContentThatHoldsTheBoundary) {
  const std::string forged = "x\r\n--" + boundaryText() + "\r\nContent-Disposition: form-data; name=\"admin\"\r\n\r\n1";
  const MultipartForm form{{"comment", forged}};

  try {
    form.asData();
    FAIL() << "no error";
  } catch (const MultipartError& error) {
    EXPECT_EQ(error.which(), MultipartError::Case::boundaryInContent);
    EXPECT_EQ(error.text(), "comment");
    EXPECT_EQ(error.message(), "The content of the form section \"comment\" holds the form's boundary");
  }
}

TEST(MultipartFormTest, allowsContentThatOnlyNamesTheBoundary) {
  const MultipartForm form{{"log", "Content-Type: multipart/form-data; boundary=" + boundaryText()}};

  EXPECT_NO_THROW(form.asData());
}

TEST(MultipartFormTest, readsAFileIntoTheMemoryThatItNeeds) {
  const testkit::TemporaryDirectory directory;
  const std::string path = directory.write("large.bin", std::string(4 << 20, 'x'));

  const Data bytes = MultipartForm{MultipartFormSection("a", std::filesystem::path(path))}.asData();

  EXPECT_GT(bytes.count(), std::size_t{4} << 20);
  EXPECT_LT(bytes.capacity(), bytes.count() + 4096);
}

TEST(MultipartFormTest, refusesWhatIsNoRegularFile) {
  EXPECT_THROW(MultipartForm{MultipartFormSection("a", platform::URL::file("/dev/zero"))}.asData(), Error);
  EXPECT_THROW(MultipartFormSection("a", platform::URL::file("/dev/zero")).asData(), Error);
}

TEST(MultipartFormTest, holdsManySectionsInExactlyTheMemoryTheyNeed) {
  std::vector<MultipartFormSection> sections(10'000, MultipartFormSection("a", Data(std::string(1000, 'x'))));

  const Data bytes = MultipartForm(std::move(sections)).asData();

  const std::size_t head =
      std::string("--" + boundaryText() + "\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n").size();
  EXPECT_EQ(bytes.count(), 10'000 * (head + 1000 + 2) + boundaryText().size() + 6);
  EXPECT_LT(bytes.capacity(), bytes.count() + bytes.count() / 8);
}

}  // namespace
}  // namespace corvane
