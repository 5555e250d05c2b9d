#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <string>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/FileManager.hpp"

namespace platform {
namespace {

namespace code = CocoaErrorCode;

/// A file to be moved, and a directory to move it to.
class FileManagerMoveTest : public testing::Test {
 protected:
  FileManagerMoveTest() {
    std::filesystem::create_directory(other);
    FileManager::write(Data("bytes"), path);
  }
  ~FileManagerMoveTest() override { FileManager::remove(directory); }

  static Error errorOf(const std::function<void()>& action) {
    try {
      action();
    } catch (const Error& error) {
      return error;
    }
    return {"none", 0, "nothing was thrown"};
  }
  Error errorOfMovingTo(const std::string& place) const {
    return errorOf([&] { FileManager::move(path, place); });
  }

  const std::string directory = FileManager::createTemporaryDirectory();
  const std::string path = directory + "/file";
  const std::string other = directory + "/other";
  const std::string target = other + "/target";
};

TEST_F(FileManagerMoveTest, givesAFileAnotherName) {
  FileManager::move(path, target);

  EXPECT_FALSE(FileManager::exists(path));
  EXPECT_EQ(FileManager::contents(target).text(), "bytes");
}

TEST_F(FileManagerMoveTest, leavesWhatIsAtTheTarget) {
  FileManager::write(Data("another's"), target);

  const Error error = errorOfMovingTo(target);

  EXPECT_EQ(error.code(), code::fileWriteFileExists);
  EXPECT_EQ(error.message(), "\"" + target + "\" could not be moved to its new place: File exists");
  EXPECT_EQ(FileManager::contents(target).text(), "another's");
  EXPECT_EQ(FileManager::contents(path).text(), "bytes");
}

TEST_F(FileManagerMoveTest, leavesADirectoryAtTheTarget) {
  EXPECT_EQ(errorOfMovingTo(other).code(), code::fileWriteFileExists);
  EXPECT_TRUE(FileManager::exists(path));
}

TEST_F(FileManagerMoveTest, doesNotFollowALinkAtTheTarget) {
  const std::string elsewhere = directory + "/elsewhere";
  std::filesystem::create_symlink(elsewhere, target);

  EXPECT_EQ(errorOfMovingTo(target).code(), code::fileWriteFileExists);
  EXPECT_FALSE(FileManager::exists(elsewhere));
}

TEST_F(FileManagerMoveTest, saysThatThereIsNothingToMove) {
  const Error error = errorOf([&] { FileManager::move(directory + "/missing", target); });

  EXPECT_EQ(error.code(), code::fileNoSuchFile);
  EXPECT_EQ(error.message(),
            "\"" + directory + "/missing\" could not be moved to its new place: No such file or directory");
}

TEST_F(FileManagerMoveTest, saysThatTheDirectoryToMoveToIsMissing) {
  EXPECT_EQ(errorOfMovingTo(directory + "/missing/target").code(), code::fileNoSuchFile);
  EXPECT_TRUE(FileManager::exists(path));
}

TEST_F(FileManagerMoveTest, refusesNamesThatANULWouldCutOff) {
  using namespace std::string_literals;
  EXPECT_EQ(errorOfMovingTo(target + "\0.txt"s).code(), code::fileWriteInvalidFileName);
  EXPECT_EQ(errorOf([&] { FileManager::move(path + "\0.txt"s, target); }).code(), code::fileWriteInvalidFileName);
  EXPECT_TRUE(FileManager::exists(path));
  EXPECT_FALSE(FileManager::exists(target));
}

/// The directory to move to is on another volume.
class FileManagerMoveToAnotherVolumeTest : public FileManagerMoveTest {
 protected:
  void SetUp() override {
    if (volume.empty()) GTEST_SKIP() << "there is no second volume to write to";
  }
  ~FileManagerMoveToAnotherVolumeTest() override {
    if (!volume.empty()) FileManager::remove(volume);
  }
  static std::string makeVolume(const std::string& beside) {
    struct stat here{};
    struct stat there{};
    std::string made = "/dev/shm/corvane-test-XXXXXX";
    if (::stat(beside.c_str(), &here) != 0 || ::stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev) return {};
    return ::mkdtemp(made.data()) ? made : std::string();
  }

  const std::string volume = makeVolume(directory);
  const std::string away = volume + "/target";
};

TEST_F(FileManagerMoveToAnotherVolumeTest, copiesTheFileWithItsPermissionsAndRemovesIt) {
  const std::string bytes(3'000'000, 'x');
  FileManager::write(Data(bytes), path);
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);

  FileManager::move(path, away);

  EXPECT_FALSE(FileManager::exists(path));
  EXPECT_TRUE(FileManager::contents(away).text() == bytes);
  struct stat facts{};
  ASSERT_EQ(::stat(away.c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 07777, 0640u);
}

TEST_F(FileManagerMoveToAnotherVolumeTest, movesAnEmptyFile) {
  FileManager::write(Data(), path);

  FileManager::move(path, away);

  EXPECT_EQ(FileManager::contents(away).count(), 0u);
}

TEST_F(FileManagerMoveToAnotherVolumeTest, leavesWhatIsAtTheTarget) {
  FileManager::write(Data("another's"), away);

  EXPECT_EQ(errorOfMovingTo(away).code(), code::fileWriteFileExists);

  EXPECT_EQ(FileManager::contents(away).text(), "another's");
  EXPECT_TRUE(FileManager::exists(path));
}

TEST_F(FileManagerMoveToAnotherVolumeTest, leavesWhatIsAtTheTargetWhenADirectoryIsToBeMoved) {
  FileManager::write(Data("another's"), away);

  const Error error = errorOf([&] { FileManager::move(other, away); });

  EXPECT_EQ(error.code(), code::fileWriteUnknown) << error.message();
  EXPECT_EQ(FileManager::contents(away).text(), "another's");
  EXPECT_TRUE(FileManager::exists(other));
}

TEST_F(FileManagerMoveToAnotherVolumeTest, leavesNothingThereWhenTheCopyFails) {
  const std::string bytes(3'000'000, 'x');
  FileManager::write(Data(bytes), path);
  rlimit saved{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
  auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limited{1'000'000, saved.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limited), 0);

  const Error error = errorOfMovingTo(away);

  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &saved), 0);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(error.code(), code::fileWriteUnknown) << error.message();
  EXPECT_FALSE(FileManager::exists(away));
  EXPECT_TRUE(FileManager::contents(path).text() == bytes);
}

}  // namespace
}  // namespace platform
