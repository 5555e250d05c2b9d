#include "DownloadFolder.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <system_error>

#include "TestSupport/TemporaryDirectory.hpp"

namespace {

using corvane::Error;
using corvane::URL;
using corvane::testkit::TemporaryDirectory;

URL arrivedIn(const DownloadFolder& folder, const std::string& name, const std::string& content) {
  const std::string path = folder.arrivals() + "/" + name;
  std::ofstream(path) << content;
  chmod(path.c_str(), 0600);
  return URL::file(path);
}

std::set<std::string> namesIn(const TemporaryDirectory& directory) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory.path()))
    names.insert(entry.path().filename().string());
  return names;
}

using Names = std::set<std::string>;

TEST(DownloadFolderTest, takesAFileUnderItsName) {
  const TemporaryDirectory directory;
  const DownloadFolder folder(directory.path());

  const std::string path = folder.take(arrivedIn(folder, "report.pdf", "content"));

  EXPECT_EQ(path, directory / "report.pdf");
  EXPECT_EQ(directory.read("report.pdf"), "content");
}

TEST(DownloadFolderTest, neverTouchesWhatIsThere) {
  const TemporaryDirectory directory;
  directory.write("report.pdf", "mine");
  directory.write("report (1).pdf", "mine, too");
  const DownloadFolder folder(directory.path());

  const std::string path = folder.take(arrivedIn(folder, "report.pdf", "content"));

  EXPECT_EQ(path, directory / "report (2).pdf");
  EXPECT_EQ(directory.read("report.pdf"), "mine");
  EXPECT_EQ(directory.read("report (1).pdf"), "mine, too");
  EXPECT_EQ(directory.read("report (2).pdf"), "content");
}

TEST(DownloadFolderTest, doesNotFollowALinkThatIsThere) {
  const TemporaryDirectory directory;
  std::filesystem::create_symlink(directory / "elsewhere", directory / "report.pdf");
  const DownloadFolder folder(directory.path());

  folder.take(arrivedIn(folder, "report.pdf", "content"));

  EXPECT_FALSE(std::filesystem::exists(directory / "elsewhere"));
  EXPECT_EQ(directory.read("report (1).pdf"), "content");
}

TEST(DownloadFolderTest, leavesNothingButWhatItTook) {
  const TemporaryDirectory directory;
  {
    const DownloadFolder folder(directory.path());
    arrivedIn(folder, "half of it", "cont");
    folder.take(arrivedIn(folder, "report.pdf", "content"));
  }

  EXPECT_EQ(namesIn(directory), Names{"report.pdf"});
}

TEST(DownloadFolderTest, givesFilesTheUsualPermissions) {
  const TemporaryDirectory directory;
  const mode_t before = umask(0027);
  const DownloadFolder folder(directory.path());
  umask(before);

  const std::string path = folder.take(arrivedIn(folder, "report.pdf", "content"));

  struct stat status{};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST(DownloadFolderTest, saysWhereNothingCanBeSaved) {
  try {
    const DownloadFolder folder("/nowhere/at/all");
    FAIL() << "no error";
  } catch (const std::system_error& error) {
    EXPECT_STREQ(error.what(), "cannot save files in \"/nowhere/at/all\": No such file or directory");
  }
}

TEST(DownloadFolderTest, failsForAFileThatIsGone) {
  const TemporaryDirectory directory;
  const DownloadFolder folder(directory.path());

  EXPECT_THROW(folder.take(URL::file(folder.arrivals() + "/gone")), Error);
}

TEST(DownloadFolderTest, putsTheNumberBeforeTheExtension) {
  EXPECT_EQ(numberedName("report.pdf", 2), "report (2).pdf");
  EXPECT_EQ(numberedName("backup.tar.gz", 1), "backup (1).tar.gz");
  EXPECT_EQ(numberedName("star.gz", 1), "star (1).gz");
  EXPECT_EQ(numberedName(".tar.gz", 1), ".tar (1).gz");
  EXPECT_EQ(numberedName("README", 1), "README (1)");
  EXPECT_EQ(numberedName(".profile", 1), ".profile (1)");
}

TEST(DownloadFolderTest, keepsNumberedNamesWithinWhatASystemTakes) {
  std::string name;
  while (name.size() < 250) name += "\u00e9";
  name += ".pdf";

  const std::string numbered = numberedName(name, 123);

  EXPECT_EQ(numbered.size(), 255U - 1);  // a character of two bytes is not halved
  EXPECT_TRUE(numbered.ends_with("\u00e9 (123).pdf"));
}

}  // namespace
