#include "Corvane/Transfers/MultipartFormSection.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "Corvane/Transfers/MultipartError.hpp"
#include "Platform/Foundation/Error.hpp"
#include "TestSupport/TemporaryDirectory.hpp"
#include "Vantorel/ErrorLoggable.hpp"

namespace corvane {
namespace {

using platform::Data;
using platform::Error;
using platform::URL;
using std::filesystem::path;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;

struct User {
  std::string login;
};
struct Unwritable {
  Data asData() const { throw Error("Test", 7, "no bytes"); }
};
struct Photo {
  URL place;
  URL fileURL() const { return place; }
};

static_assert(velisand::DataRepresentable<MultipartFormSection>);
static_assert(velisand::DataRepresentable<std::vector<MultipartFormSection>>);
static_assert(!velisand::JSONEncodable<std::vector<MultipartFormSection>>);
static_assert(!velisand::FileRepresentable<MultipartFormSection>);
static_assert(std::copyable<MultipartFormSection>);
static_assert(!std::constructible_from<MultipartFormSection, std::string, int*>);

MultipartError errorOf(const auto& call) {
  try {
    call();
  } catch (const MultipartError& error) {
    return error;
  }
  throw std::logic_error("nothing was thrown");
}

TEST(MultipartFormSectionTest, writesAPlainField) {
  const MultipartFormSection section("a", "x");

  EXPECT_EQ(section.asData(), Data("Content-Disposition: form-data; name=\"a\"\r\n\r\nx"));
  EXPECT_EQ(section.name, "a");
  EXPECT_FALSE(section.contentType);
  EXPECT_FALSE(section.fileURL);
  EXPECT_EQ(*section.dataRepresentable.as<std::string>(), "x");
}

TEST(MultipartFormSectionTest, writesTheTypeAfterTheEmptyLine) {
  const MultipartFormSection section("user", User{"ada"}, HTTPMediaType::json);

  EXPECT_EQ(section.asData(), Data("Content-Disposition: form-data; name=\"user\"\r\n\r\n"
                                   "Content-Type: application/json\r\n{\"login\":\"ada\"}"));
  EXPECT_EQ(section.contentType, "application/json");
}

TEST(MultipartFormSectionTest, writesAFileWithoutAnEmptyLine) {
  const testkit::TemporaryDirectory directory;
  const std::string bytes("\xFF\xD8\0\r\n", 5);
  const path place = directory.write("a b.jpeg", bytes);
  const std::string expected =
      "Content-Disposition: form-data; name=\"photo\"\r\n; filename=\"a b.jpeg\"\r\n"
      "Content-Type: image/jpeg\r\n" +
      bytes;

  const MultipartFormSection byPath("photo", place);
  const MultipartFormSection byURL("photo", URL::file(place.string()));
  const MultipartFormSection byType("photo", Photo{URL::file(place.string())});

  EXPECT_EQ(byPath.asData().text(), expected);
  EXPECT_EQ(byURL.asData().text(), expected);
  EXPECT_EQ(byType.asData().text(), expected);
  EXPECT_EQ(byPath.fileURL, URL::file(place.string()));
  EXPECT_EQ(byPath.contentType, "image/jpeg");
  EXPECT_EQ(*byPath.dataRepresentable.as<path>(), place);
}

TEST(MultipartFormSectionTest, takesAFileWithoutAKnownExtensionForPlainBytes) {
  EXPECT_EQ(MultipartFormSection("a", path("/a.nobody-knows-it")).contentType, "application/octet-stream");
  EXPECT_EQ(MultipartFormSection("a", path("/a")).contentType, "application/octet-stream");
}

TEST(MultipartFormSectionTest, takesATypeThatIsGivenForAFile) {
  const MultipartFormSection section("a", path("/a.jpeg"), HTTPMediaType("text/csv"));

  EXPECT_EQ(section.contentType, "text/csv");
  EXPECT_EQ(section.fileURL, URL("file:///a.jpeg"));
}

TEST(MultipartFormSectionTest, takesTheBytesOfAFileForAPlainFieldWhenToldSo) {
  const testkit::TemporaryDirectory directory;
  const path place = directory.write("a.txt", "hello");

  const MultipartFormSection section("a", velisand::AnyDataRepresentable(place));

  EXPECT_EQ(section.asData(), Data("Content-Disposition: form-data; name=\"a\"\r\n\r\nhello"));
}

TEST(MultipartFormSectionTest, showsItsHeaders) {
  EXPECT_THAT(MultipartFormSection("a", "x").headers(),
              ElementsAre(Pair("Content-Disposition", "form-data; name=\"a\"\r\n")));
  EXPECT_THAT(MultipartFormSection("b", path("/c.png")).headers(),
              ElementsAre(Pair("Content-Disposition", "form-data; name=\"b\"\r\n; filename=\"c.png\""),
                          Pair("Content-Type", "image/png")));
}

TEST(MultipartFormSectionTest, takesTextBytesAndValuesOfAnyKind) {
  const auto valueOf = [](const MultipartFormSection& section) { return section.dataRepresentable.asData(); };

  EXPECT_EQ(valueOf({"a", std::string("b\0c", 3)}), Data(std::string("b\0c", 3)));
  EXPECT_EQ(valueOf({"a", std::string_view("text")}), Data("text"));
  EXPECT_EQ(valueOf({"a", Data("bytes")}), Data("bytes"));
  EXPECT_EQ(valueOf({"a", ""}), Data());
  EXPECT_EQ(valueOf({"a", 7}), Data("7"));
  EXPECT_EQ(valueOf({"a", true}), Data("true"));
}

TEST(MultipartFormSectionTest, isAValueWhoseFieldsCanBeChanged) {
  const MultipartFormSection original("a", path("/a.jpeg"));
  MultipartFormSection copy = original;

  copy.name = "b";
  copy.contentType = std::nullopt;
  copy.fileURL = std::nullopt;
  copy.dataRepresentable = "x";

  EXPECT_EQ(copy.asData(), Data("Content-Disposition: form-data; name=\"b\"\r\n\r\nx"));
  EXPECT_EQ(original.name, "a");
  EXPECT_TRUE(original.fileURL);
}

TEST(MultipartFormSectionTest, writesTextAsUTF8) {
  EXPECT_EQ(MultipartFormSection("größe", "ü").asData(),
            Data("Content-Disposition: form-data; name=\"gr\xC3\xB6\xC3\x9F"
                 "e\"\r\n\r\n\xC3\xBC"));
  EXPECT_EQ(MultipartFormSection("a", path("/größe")).headers().value("Content-Disposition"),
            "form-data; name=\"a\"\r\n; filename=\"größe\"");
}

TEST(MultipartFormSectionTest, escapesDoubleQuotesAndNothingElse) {
  EXPECT_EQ(MultipartFormSection("a\"; x=\"%\\", "").headers().value("content-disposition"),
            "form-data; name=\"a\"; x=\"%\\\"\r\n");
  EXPECT_EQ(MultipartFormSection("a", path("/b\"c")).headers().value("Content-Disposition"),
            "form-data; name=\"a\"\r\n; filename=\"b\"c\"");
}

TEST(MultipartFormSectionTest, refusesTextThatCouldPassForAHeader) {
  for (const std::string& breaking : {std::string("\r"), std::string("\n"), std::string("\0", 1)}) {
    const std::string text = "a" + breaking + "b";
    const auto inName = errorOf([&] { MultipartFormSection(text, "x").asData(); });
    const auto inType = errorOf([&] { MultipartFormSection("a", "x", HTTPMediaType(text)).asData(); });
    const auto inFileName = errorOf([&] { MultipartFormSection("a", path("/" + text)).headers(); });

    EXPECT_EQ(inName.which(), MultipartError::Case::controlCharacter);
    EXPECT_EQ(inName.text(), text);
    EXPECT_THAT(inName.message(), HasSubstr("The name of a form section holds a line break or a NUL: \"a\\"));
    EXPECT_THAT(inType.message(), HasSubstr("The content type of a form section holds"));
    EXPECT_THAT(inFileName.message(), HasSubstr("The file name of a form section holds"));
  }
}

TEST(MultipartFormSectionTest, logsWhatIsWrongOnOneLine) {
  const Error ofText(errorOf([] { MultipartFormSection("a\r\nb", "x").asData(); }));
  const Error ofBoundary(MultipartError::boundaryInContent("photo"));

  ASSERT_TRUE(ofText.is<vantorel::ErrorLoggable>());
  EXPECT_EQ(ofText.as<vantorel::ErrorLoggable>()->logMessage(), ofText.message());
  EXPECT_EQ(ofText.as<vantorel::ErrorLoggable>()->additionalLogInfo(), (platform::Dictionary{{"text", R"("a\r\nb")"}}));
  ASSERT_TRUE(ofBoundary.is<vantorel::ErrorLoggable>());
  EXPECT_EQ(ofBoundary.as<vantorel::ErrorLoggable>()->additionalLogInfo(),
            (platform::Dictionary{{"section", R"("photo")"}}));
}

TEST(MultipartFormSectionTest, passesOnWhatItsValueThrows) {
  EXPECT_THROW(MultipartFormSection("a", Unwritable()).asData(), Error);
  EXPECT_THROW(MultipartFormSection("a", path("/not/there")).asData(), Error);
  EXPECT_THROW(MultipartFormSection("a", URL("https://h/a.png")).asData(), Error);
}

}  // namespace
}  // namespace corvane
