#include "Velisand/FileRepresentable.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace velisand {

namespace {

using corvane::testkit::TemporaryDirectory;
using platform::Data;
using platform::Error;
using platform::URL;
using std::filesystem::path;
using ::testing::HasSubstr;

struct Photo {
  std::string name;
  URL fileURL() const { return URL::file(name); }
};

/// Stands for a file, and has bytes that are not the file's.
struct Sealed {
  URL fileURL() const { return "file:///sealed"; }
  Data asData() const { return "the seal"; }
};

struct NamesItsFileAsText {
  std::string fileURL() const { return "file:///a"; }
};

struct Point {
  int x = 0;
  int y = 0;
};

class Opened {
 public:
  explicit Opened(URL file) : place(std::move(file)) {}
  URL place;
};

class Length {
 public:
  explicit Length(const URL&) {}
  explicit Length(const Data& data) : count(data.count()) {}
  std::size_t count = 0;
};

struct Link {
  URL target;
};

class Neither {
 public:
  explicit Neither(int) {}
};

}  // namespace

namespace elsewhere {

struct Word {
  std::string text;
};

Data dataRepresentation(const std::vector<Word>& words) {
  std::string text;
  for (const Word& word : words) text += word.text;
  return text;
}

}  // namespace elsewhere

namespace {

static_assert(FileRepresentable<URL> && FileRepresentable<path> && FileRepresentable<Photo>);
static_assert(!FileRepresentable<std::string> && !FileRepresentable<Data> && !FileRepresentable<Point>);
static_assert(!FileRepresentable<NamesItsFileAsText> && !FileRepresentable<Link>);

static_assert(FileInitializable<URL> && FileInitializable<path> && FileInitializable<Opened>);
static_assert(FileInitializable<Data> && FileInitializable<std::string> && FileInitializable<std::vector<std::byte>>);
static_assert(FileInitializable<Point> && FileInitializable<Link> && FileInitializable<Length>);
static_assert(!FileInitializable<Neither>);

static_assert(DataRepresentable<URL> && DataRepresentable<path> && DataRepresentable<Photo>);
static_assert(!DataInitializable<URL> && !DataInitializable<path> && !DataInitializable<Opened>);
static_assert(!RepresentedByJSON<URL> && !RepresentedByJSON<path> && !RepresentedByJSON<Photo>);
static_assert(RepresentedByJSON<Link> && DataInitializable<Link>);

static_assert(DataRepresentable<std::vector<elsewhere::Word>> && !RepresentedByJSON<std::vector<elsewhere::Word>>);
static_assert(RepresentedByJSON<elsewhere::Word>);

std::string messageOf(const auto& call) {
  try {
    call();
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), platform::NSCocoaErrorDomain);
    return error.message();
  }
  return {};
}

TEST(FileRepresentableTest, isWhereItsFileIs) {
  EXPECT_EQ(fileURL(URL("file:///a/b")), URL("file:///a/b"));
  EXPECT_EQ(fileURL(path("/a b/ü")), URL("file:///a%20b/%C3%BC"));
  EXPECT_EQ(fileURL(Photo{"/a.jpeg"}), URL("file:///a.jpeg"));
}

TEST(FileRepresentableTest, takesARelativePathFromTheCurrentDirectory) {
  const auto place = fileURL(path("some.txt"));

  EXPECT_EQ(place.fileSystemPath(), (std::filesystem::current_path() / "some.txt").string());
}

TEST(FileRepresentableTest, meansTheBytesOfItsFile) {
  const TemporaryDirectory directory;
  const std::string name = directory.write("some bytes", std::string("a\0b", 3));

  EXPECT_EQ(asData(URL::file(name)), Data(std::string("a\0b", 3)));
  EXPECT_EQ(asData(path(name)), Data(std::string("a\0b", 3)));
  EXPECT_EQ(asData(Photo{name}), Data(std::string("a\0b", 3)));
}

TEST(FileRepresentableTest, meansTheBytesThatItsTypeOffers) { EXPECT_EQ(asData(Sealed()), Data("the seal")); }

TEST(FileRepresentableTest, saysWhichFileCannotBeRead) {
  const TemporaryDirectory directory;
  const path missing = directory / "missing";

  EXPECT_THAT(messageOf([&] { asData(missing); }), HasSubstr(missing.string()));
  EXPECT_THAT(messageOf([&] { asData(URL("https://h/a")); }), HasSubstr("\"https://h/a\" is no file URL"));
}

TEST(FileRepresentableTest, tellsTheTypeByTheExtension) {
  EXPECT_EQ(mimeType(URL("file:///a/b.jpeg")), "image/jpeg");
  EXPECT_EQ(mimeType(path("a.b/c.PDF")), "application/pdf");
  EXPECT_EQ(mimeType(Photo{"/photo.png"}), "image/png");
}

TEST(FileRepresentableTest, isOfNoParticularTypeWithoutAKnownExtension) {
  EXPECT_EQ(mimeType(path("/a.jpeg/b")), "application/octet-stream");
  EXPECT_EQ(mimeType(path("/a.nobody-knows-it")), "application/octet-stream");
  EXPECT_EQ(mimeType(path("/.jpeg")), "application/octet-stream");
  EXPECT_EQ(mimeType(URL("file:///")), "application/octet-stream");
}

TEST(FileRepresentableTest, leavesTextAndBytesAlone) {
  const TemporaryDirectory directory;
  const std::string name = directory.write("file", "content");

  EXPECT_EQ(asData(name), Data(name));
  EXPECT_EQ(asData(Data(name)), Data(name));
}

TEST(FileRepresentableTest, isStillTextInsideJSON) {
  EXPECT_EQ(asData(Link{"file:///a"}), Data(R"({"target":"file:///a"})"));
}

TEST(DataRepresentableTest, asksTheFunctionBesideATypeForItsBytes) {
  EXPECT_EQ(asData(std::vector<elsewhere::Word>{{"a"}, {"b"}}), Data("ab"));
}

TEST(FileInitializableTest, keepsThePlaceOfTheFile) {
  const URL file("file:///not/there");

  EXPECT_EQ(fromFile<URL>(file), file);
  EXPECT_EQ(fromFile<path>(file), path("/not/there"));
  EXPECT_EQ(fromFile<Opened>(file).place, file);
}

TEST(FileInitializableTest, makesOtherTypesOfTheBytes) {
  const TemporaryDirectory directory;
  const URL file = URL::file(directory.write("point.json", R"({"x":1,"y":2})"));

  EXPECT_EQ(fromFile<std::string>(file), R"({"x":1,"y":2})");
  EXPECT_EQ(fromFile<Data>(file), Data(R"({"x":1,"y":2})"));
  EXPECT_EQ(fromFile<Point>(file).y, 2);
  EXPECT_EQ(fromFile<Length>(file).count, 13u);
}

TEST(FileInitializableTest, refusesAURLThatIsNoFile) {
  EXPECT_THAT(messageOf([] { fromFile<Data>("https://h/a"); }), HasSubstr("is no file URL"));
  EXPECT_THAT(messageOf([] { fromFile<path>("https://h/a"); }), HasSubstr("is no file URL"));
}

}  // namespace
}  // namespace velisand
