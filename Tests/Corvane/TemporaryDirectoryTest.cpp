#include "Corvane/TemporaryDirectory.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/UUID.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace corvane {
namespace {

using platform::Error;
using platform::FileManager;
using platform::URL;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// Lets the test decide where the system's temporary directory is.
class MakeTemporaryDirectoryTest : public ::testing::Test {
 protected:
  MakeTemporaryDirectoryTest() { ::setenv("TMPDIR", parent.path().c_str(), 1); }
  ~MakeTemporaryDirectoryTest() override {
    if (wasSet) {
      ::setenv("TMPDIR", saved.c_str(), 1);
    } else {
      ::unsetenv("TMPDIR");
    }
  }

  testkit::TemporaryDirectory parent;

 private:
  const bool wasSet = std::getenv("TMPDIR") != nullptr;
  const std::string saved = wasSet ? std::getenv("TMPDIR") : "";
};

TEST_F(MakeTemporaryDirectoryTest, makesADirectoryNamedByAUUID) {
  const URL directory = makeTemporaryDirectory();

  const std::string name = directory.lastPathComponent();
  ASSERT_THAT(name, StartsWith("Corvane-"));
  const auto uuid = platform::UUID::parse(name.substr(8));
  ASSERT_TRUE(uuid);
  EXPECT_EQ(uuid->uuidString(), name.substr(8));
  EXPECT_EQ(directory, URL("file://" + (parent / name).string() + "/"));
  EXPECT_TRUE(std::filesystem::is_directory(parent / name));
}

TEST_F(MakeTemporaryDirectoryTest, letsOnlyThisUserIn) {
  const URL directory = makeTemporaryDirectory();

  struct stat status;
  ASSERT_EQ(::stat(directory.fileSystemPath().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0700U);
}

TEST_F(MakeTemporaryDirectoryTest, makesAnotherOneEachTime) {
  EXPECT_NE(makeTemporaryDirectory(), makeTemporaryDirectory());
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(parent.path()), {}), 2);
}

TEST_F(MakeTemporaryDirectoryTest, makesTheDirectoriesAboveIt) {
  ::setenv("TMPDIR", (parent / "not there yet" / "ü%").c_str(), 1);

  const URL directory = makeTemporaryDirectory();

  EXPECT_TRUE(std::filesystem::is_directory(parent / "not there yet" / "ü%" / directory.lastPathComponent()));
}

TEST_F(MakeTemporaryDirectoryTest, saysWhichDirectoryCouldNotBeMadeAndWhy) {
  const std::string file = parent.write("file", "");
  ::setenv("TMPDIR", file.c_str(), 1);

  try {
    makeTemporaryDirectory();
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), platform::NSCocoaErrorDomain);
    EXPECT_THAT(error.message(), StartsWith("\"" + file + "/Corvane-"));
    EXPECT_THAT(error.message(), HasSubstr("could not be made: Not a directory"));
  }
}

}  // namespace
}  // namespace corvane
