#include "FormSection.hpp"

#include <gtest/gtest.h>

#include <string>

#include "TestSupport/TemporaryDirectory.hpp"
#include "UsageError.hpp"

namespace {

using corvane::testkit::TemporaryDirectory;

/// What the user is told about this text; empty when it will do.
std::string problem(const std::string& text) {
  try {
    formSection(text);
    return "";
  } catch (const UsageError& error) {
    return error.what();
  }
}

TEST(FormSectionTest, takesAValueAsItIs) {
  const auto section = formSection("greeting=a=b;type=c @d");

  EXPECT_EQ(section.name, "greeting");
  EXPECT_EQ(section.dataRepresentable.asData().view(), "a=b;type=c @d");
  EXPECT_FALSE(section.contentType);
  EXPECT_FALSE(section.fileURL);
}

TEST(FormSectionTest, takesAnEmptyValue) { EXPECT_EQ(formSection("a=").dataRepresentable.asData().view(), ""); }

TEST(FormSectionTest, takesAFileWithTheTypeOfItsExtension) {
  const TemporaryDirectory folder;
  const std::string file = folder.write("a=b;c.png", "pixels");

  const auto section = formSection("photo=@" + file);

  EXPECT_EQ(section.fileURL->fileSystemPath(), file);
  EXPECT_EQ(section.contentType, "image/png");
  EXPECT_EQ(section.dataRepresentable.asData().view(), "pixels");
}

TEST(FormSectionTest, takesTheTypeOfAFileThatIsGiven) {
  const TemporaryDirectory folder;
  const std::string file = folder.write("a.png", "pixels");

  const auto section = formSection("photo=@" + file + ";type=image/x-own; q=1");

  EXPECT_EQ(section.fileURL->fileSystemPath(), file);
  EXPECT_EQ(section.contentType, "image/x-own; q=1");
}

TEST(FormSectionTest, saysWhatIsNoSection) {
  const std::string write = " is no section of a form: write NAME=VALUE or NAME=@FILE";

  EXPECT_EQ(problem("name"), "'name'" + write);
  EXPECT_EQ(problem("=value"), "'=value'" + write);
  EXPECT_EQ(problem(""), "''" + write);
  EXPECT_EQ(problem("a=@"), "'a=@' is no section of a form: it names no file");
  EXPECT_EQ(problem("a=@;type=text/plain"), "'a=@;type=text/plain' is no section of a form: it names no file");
  EXPECT_EQ(problem("a=@b;type="), "'a=@b;type=' is no section of a form: its type is empty");
}

TEST(FormSectionTest, saysWhyAFileCannotBeRead) {
  EXPECT_EQ(problem("a=@/nowhere/at/all"),
            "cannot read the file of the section 'a': \"/nowhere/at/all\": No such file or directory");
  EXPECT_EQ(problem("a=@/"), "cannot read the file of the section 'a': \"/\": Is a directory");
}

TEST(FormSectionTest, refusesNamesThatCouldPassForHeaders) {
  EXPECT_NE(problem("a\r\nb=c").find("is no section of a form: "), std::string::npos);
}

}  // namespace
