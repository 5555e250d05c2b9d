#include "Platform/Foundation/TemporaryFile.hpp"

#include <gtest/gtest.h>

#include <string>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/FileManager.hpp"

namespace platform {
namespace {

class TemporaryFileTest : public testing::Test {
 protected:
  ~TemporaryFileTest() override { FileManager::remove(directory); }

  /// The path of a new file.
  std::string made(const std::string& name, const std::string& text = "x") const {
    FileManager::write(Data(text), directory + "/" + name);
    return directory + "/" + name;
  }

  const std::string directory = FileManager::createTemporaryDirectory();
};

TEST_F(TemporaryFileTest, isRemovedWithItsValue) {
  const std::string path = made("file");
  {
    const TemporaryFile file(path);
    EXPECT_EQ(file.path(), path);
    EXPECT_EQ(file.url().fileSystemPath(), path);
    EXPECT_TRUE(FileManager::exists(path));
  }

  EXPECT_FALSE(FileManager::exists(path));
}

TEST_F(TemporaryFileTest, namesNoFileByDefault) {
  TemporaryFile none;

  EXPECT_EQ(none.path(), "");
  EXPECT_NO_THROW(none.remove());
}

TEST_F(TemporaryFileTest, staysWhenItIsKept) {
  const std::string path = made("file");
  {
    TemporaryFile file(path);
    file.keep();
    EXPECT_EQ(file.path(), "");
  }

  EXPECT_TRUE(FileManager::exists(path));
}

TEST_F(TemporaryFileTest, staysWhenItIsToStay) {
  const std::string path = made("file");
  {
    TemporaryFile first = TemporaryFile::staying(path);
    EXPECT_EQ(first.path(), path);
    TemporaryFile second(std::move(first));
    second.remove();
    EXPECT_EQ(second.path(), "");
    second = TemporaryFile::staying(path);
  }

  EXPECT_TRUE(FileManager::exists(path));
}

TEST_F(TemporaryFileTest, goesWithTheValueThatItIsMovedTo) {
  const std::string path = made("file");
  TemporaryFile last;
  {
    TemporaryFile first(path);
    TemporaryFile second(std::move(first));
    last = std::move(second);
  }
  EXPECT_TRUE(FileManager::exists(path));

  last.remove();

  EXPECT_FALSE(FileManager::exists(path));
}

TEST_F(TemporaryFileTest, isRemovedWhenItsValueNamesAnother) {
  const std::string first = made("first");
  const std::string second = made("second");
  TemporaryFile file(first);

  file = TemporaryFile(second);

  EXPECT_FALSE(FileManager::exists(first));
  EXPECT_TRUE(FileManager::exists(second));
}

TEST_F(TemporaryFileTest, staysWhenItsValueIsMovedToItself) {
  TemporaryFile file(made("file"));
  TemporaryFile& same = file;

  file = std::move(same);

  EXPECT_TRUE(FileManager::exists(directory + "/file"));
}

TEST_F(TemporaryFileTest, mayBeMovedToAnotherPlaceWhereItStays) {
  const std::string path = made("file", "moved");
  {
    TemporaryFile file(path);
    file.moveTo(directory + "/target");
    EXPECT_EQ(file.path(), "");
  }

  EXPECT_FALSE(FileManager::exists(path));
  EXPECT_EQ(FileManager::contents(directory + "/target").text(), "moved");
}

TEST_F(TemporaryFileTest, isTemporaryStillWhenItCannotBeMoved) {
  const std::string path = made("file");
  made("target", "another's");
  {
    TemporaryFile file(path);
    EXPECT_THROW(file.moveTo(directory + "/target"), Error);
    EXPECT_THROW(file.moveTo(directory + "/missing/target"), Error);
    EXPECT_EQ(file.path(), path);
    EXPECT_TRUE(FileManager::exists(path));
  }

  EXPECT_FALSE(FileManager::exists(path));
  EXPECT_EQ(FileManager::contents(directory + "/target").text(), "another's");
}

TEST_F(TemporaryFileTest, mayBeGoneBeforeItsValue) {
  const std::string path = made("file");
  TemporaryFile file(path);
  FileManager::remove(path);

  EXPECT_NO_THROW(file.remove());
  EXPECT_EQ(file.path(), "");
}

}  // namespace
}  // namespace platform
