#include "Platform/Foundation/FileManager.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "Platform/Foundation/Error.hpp"

namespace {

using platform::AnyValue;
using platform::Data;
using platform::Error;
using platform::FileManager;
using testing::Optional;

namespace code = platform::CocoaErrorCode;

class FileManagerTest : public testing::Test {
 protected:
  ~FileManagerTest() override { FileManager::remove(directory); }

  static Error errorOf(const std::function<void()>& action) {
    try {
      action();
    } catch (const Error& error) {
      return error;
    }
    return {"none", 0, "nothing was thrown"};
  }

  static mode_t modeOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
  }

  std::ptrdiff_t entryCount() const {
    return std::distance(std::filesystem::directory_iterator(directory), std::filesystem::directory_iterator());
  }

  const std::string directory = FileManager::createTemporaryDirectory();
  const std::string path = directory + "/file";
};

TEST_F(FileManagerTest, readsBackWhatItWrote) {
  for (const std::size_t count : {0U, 1U, 4095U, 4096U, 4097U, 3'000'000U}) {
    std::string text(count, '\0');
    for (std::size_t index = 0; index < count; ++index) text[index] = static_cast<char>(index * 31);

    FileManager::write(Data(text), path);

    EXPECT_EQ(FileManager::contents(path), Data(text)) << count;
  }
}

TEST_F(FileManagerTest, readsFilesWhoseSizeTheSystemDoesNotTell) {
  EXPECT_THAT(FileManager::contents("/proc/self/status").text(), testing::HasSubstr("Pid:"));
}

TEST_F(FileManagerTest, saysWhichFileIsMissing) {
  const Error error = errorOf([&] { FileManager::contents(path); });

  EXPECT_EQ(error.domain(), "NSCocoaErrorDomain");
  EXPECT_EQ(error.code(), code::fileReadNoSuchFile);
  EXPECT_EQ(error.message(), "\"" + path + "\" could not be read: No such file or directory");
  EXPECT_EQ(*error.userInfo().find("NSFilePath"), AnyValue(path));
  EXPECT_EQ(*error.userInfo().find("NSPOSIXErrorCode"), AnyValue(ENOENT));
  EXPECT_EQ(FileManager::contentsIfReadable(path), std::nullopt);
}

TEST_F(FileManagerTest, saysThatADirectoryIsNoFile) {
  const Error error = errorOf([&] { FileManager::contents(directory); });

  EXPECT_EQ(error.code(), code::fileReadUnknown);
  EXPECT_EQ(error.message(), "\"" + directory + "\" could not be read: Is a directory");
}

TEST_F(FileManagerTest, refusesAPathThatANulWouldCutOff) {
  const std::string cut(path + '\0' + "rest");
  FileManager::write(Data("x"), path);

  EXPECT_EQ(errorOf([&] { FileManager::contents(cut); }).code(), code::fileReadInvalidFileName);
  EXPECT_EQ(errorOf([&] { FileManager::write(Data(), cut); }).code(), code::fileWriteInvalidFileName);
  EXPECT_EQ(errorOf([&] { FileManager::remove(cut); }).code(), code::fileWriteInvalidFileName);
  EXPECT_FALSE(FileManager::exists(cut));
  EXPECT_TRUE(FileManager::exists(path));
}

TEST_F(FileManagerTest, leavesNothingBehindBesideTheFile) {
  FileManager::write(Data("one"), path);
  FileManager::write(Data("two"), path);

  EXPECT_EQ(entryCount(), 1);
}

TEST_F(FileManagerTest, leavesEverythingAsItWasWhenWritingFails) {
  ASSERT_EQ(::mkdir(path.c_str(), 0700), 0);

  const Error error = errorOf([&] { FileManager::write(Data("x"), path); });

  EXPECT_EQ(error.message(), "\"" + path + "\" could not be written: Is a directory");
  EXPECT_EQ(entryCount(), 1);
}

TEST_F(FileManagerTest, saysThatTheDirectoryToWriteIntoIsMissing) {
  const Error error = errorOf([&] { FileManager::write(Data("x"), path + "/file"); });

  EXPECT_EQ(error.code(), code::fileNoSuchFile);
}

TEST_F(FileManagerTest, passesOnThePermissionsOfTheFileItReplaces) {
  FileManager::write(Data("one"), path);
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);

  FileManager::write(Data("two"), path);

  EXPECT_EQ(modeOf(path), 0640U);
}

TEST_F(FileManagerTest, replacesASymbolicLinkAndNotItsTarget) {
  const std::string target = directory + "/target";
  FileManager::write(Data("target"), target);
  ASSERT_EQ(::symlink(target.c_str(), path.c_str()), 0);

  FileManager::write(Data("new"), path);

  EXPECT_THAT(FileManager::contentsIfReadable(target), Optional(Data("target")));
  EXPECT_THAT(FileManager::contentsIfReadable(path), Optional(Data("new")));
}

TEST_F(FileManagerTest, writesIntoTheCurrentDirectoryByABareName) {
  const auto previous = std::filesystem::current_path();
  std::filesystem::current_path(directory);

  FileManager::write(Data("x"), "bare");

  EXPECT_TRUE(FileManager::exists("bare"));
  std::filesystem::current_path(previous);
  EXPECT_TRUE(FileManager::exists(directory + "/bare"));
}

TEST_F(FileManagerTest, removesAWholeDirectoryButNotWhatLinksLeadTo) {
  const std::string tree = directory + "/tree";
  FileManager::write(Data("x"), path);
  ASSERT_EQ(::mkdir(tree.c_str(), 0700), 0);
  FileManager::write(Data("y"), tree + "/inside");
  ASSERT_EQ(::symlink(path.c_str(), (tree + "/link").c_str()), 0);

  FileManager::remove(tree);

  EXPECT_FALSE(FileManager::exists(tree));
  EXPECT_TRUE(FileManager::exists(path));
}

TEST_F(FileManagerTest, saysThatThereIsNothingToRemove) {
  const Error error = errorOf([&] { FileManager::remove(path); });

  EXPECT_EQ(error.code(), code::fileNoSuchFile);
  EXPECT_EQ(error.message(), "\"" + path + "\" could not be removed: No such file or directory");
}

TEST_F(FileManagerTest, makesPrivateTemporaryDirectoriesThatDiffer) {
  const std::string another = FileManager::createTemporaryDirectory();

  EXPECT_NE(another, directory);
  EXPECT_EQ(modeOf(another), 0700U);
  EXPECT_TRUE(another.starts_with(FileManager::temporaryDirectory() + "/"));
  FileManager::remove(another);
}

TEST_F(FileManagerTest, makesAPrivateDirectoryAndThoseAboveIt) {
  const std::string deep = directory + "/a//b/c/";

  FileManager::createPrivateDirectory(deep);

  EXPECT_EQ(modeOf(deep), 0700U);
  EXPECT_TRUE(std::filesystem::is_directory(directory + "/a/b"));
}

TEST_F(FileManagerTest, makesNoDirectoryWhereThereIsSomething) {
  FileManager::write(Data("x"), path);

  const Error taken = errorOf([&] { FileManager::createPrivateDirectory(directory); });
  const Error inFile = errorOf([&] { FileManager::createPrivateDirectory(path + "/a"); });
  const Error cutOff = errorOf([] { FileManager::createPrivateDirectory({"/tmp/a\0b", 8}); });
  const Error nameless = errorOf([] { FileManager::createPrivateDirectory(""); });

  EXPECT_EQ(taken.message(), "\"" + directory + "\" could not be made: File exists");
  EXPECT_EQ(inFile.message(), "\"" + path + "/a\" could not be made: Not a directory");
  EXPECT_EQ(cutOff.code(), code::fileWriteInvalidFileName);
  EXPECT_EQ(nameless.code(), code::fileNoSuchFile);
}

TEST_F(FileManagerTest, takesTheTemporaryDirectoryFromTheEnvironment) {
  const char* value = std::getenv("TMPDIR");
  const std::string saved = value != nullptr ? value : "";

  ::setenv("TMPDIR", (directory + "//").c_str(), 1);
  EXPECT_EQ(FileManager::temporaryDirectory(), directory);
  ::setenv("TMPDIR", "relative/", 1);
  EXPECT_EQ(FileManager::temporaryDirectory(), (std::filesystem::current_path() / "relative").string());
  ::unsetenv("TMPDIR");
  EXPECT_EQ(FileManager::temporaryDirectory(), "/tmp");

  if (!saved.empty()) ::setenv("TMPDIR", saved.c_str(), 1);
}

TEST_F(FileManagerTest, addsTheContentsOfRegularFilesOnly) {
  const std::string pipe = directory + "/pipe";
  const std::string file = directory + "/file";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  FileManager::write(Data("more"), file);
  Data data("some ");

  FileManager::appendContents(file, data);

  EXPECT_EQ(data, Data("some more"));
  for (const std::string& other : {pipe, std::string("/dev/zero"), directory, directory + "/missing"}) {
    EXPECT_THROW(FileManager::appendContents(other, data), Error) << other;
  }
  EXPECT_EQ(data, Data("some more"));
}

}  // namespace
