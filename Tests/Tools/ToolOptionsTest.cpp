#include "ToolOptions.hpp"

#include <gtest/gtest.h>

#include <string>

#include "CommandLine.hpp"
#include "CorvaneTesting/CertificateAuthority.hpp"
#include "TestSupport/TemporaryDirectory.hpp"
#include "UsageError.hpp"

namespace {

using corvane::HTTPMediaType;
using corvane::HTTPMethod;
using corvane::HTTPVerbosityLevel;
using corvane::testing::CertificateAuthority;
using corvane::testing::TemporaryDirectory;

/// What the user is told about this command line; empty when it will do.
std::string problem(const CommandLine& line) {
  try {
    ToolOptions::from(line);
    return "";
  } catch (const UsageError& error) {
    return error.what();
  }
}

std::string problemOfJSON(const std::string& text) { return problem({.url = "http://host/", .json = text}); }

std::string urlOf(const std::string& url, std::vector<std::string> queryItems) {
  return ToolOptions::from({.url = url, .queryItems = std::move(queryItems)}).urls.at(0).absoluteString();
}

corvane::HTTPHeaders headersOf(std::vector<std::string> headers) {
  return ToolOptions::from({.url = "http://host/", .headers = std::move(headers)}).headers;
}

TEST(ToolOptionsTest, sendsAGetUnlessThereIsABody) {
  EXPECT_EQ(ToolOptions::from({.url = "http://host/"}).method, HTTPMethod::get);
  EXPECT_EQ(ToolOptions::from({.url = "http://host/", .data = ""}).method, HTTPMethod::post);
  EXPECT_EQ(ToolOptions::from({.method = "PUT", .url = "http://host/", .data = "x"}).method, HTTPMethod::put);
}

TEST(ToolOptionsTest, takesURLsOfTheWebOnly) {
  EXPECT_EQ(problem({.url = "http://host/"}), "");
  EXPECT_EQ(problem({.url = "HTTPS://host"}), "");
  EXPECT_EQ(problem({.url = "ftp://host/"}),
            "'ftp://host/' is no URL to send to: it must start with http:// or https://");
  EXPECT_EQ(problem({.url = "host/path"}), "'host/path' is no URL to send to: it must start with http:// or https://");
  EXPECT_EQ(problem({.url = "http:///path"}), "'http:///path' is no URL to send to: it names no host");
  EXPECT_EQ(problem({.url = "http://host:port/"}).find("'http://host:port/' is no URL: "), 0U);
}

TEST(ToolOptionsTest, putsQueryItemsAfterTheURLsOwnQuery) {
  EXPECT_EQ(urlOf("http://host/p?a=%31", {}), "http://host/p?a=%31");
  EXPECT_EQ(urlOf("http://host/p?a=%31", {"b=2"}), "http://host/p?a=%31&b=2");
  EXPECT_EQ(urlOf("http://host/p", {"b=2", "c"}), "http://host/p?b=2&c");
  EXPECT_EQ(urlOf("http://host/p?", {"b=2"}), "http://host/p?b=2");
  EXPECT_EQ(urlOf("http://host/p#part", {"b=2"}), "http://host/p?b=2#part");
}

TEST(ToolOptionsTest, encodesQueryItemsSoThatTheyArriveAsWritten) {
  EXPECT_EQ(urlOf("http://host/", {"q=a b&c=d+e#f"}), "http://host/?q=a%20b%26c%3Dd%2Be%23f");
  EXPECT_EQ(urlOf("http://host/", {"n\u00e9=%41"}), "http://host/?n%C3%A9=%2541");
}

TEST(ToolOptionsTest, refusesAQueryItemWithoutAName) {
  EXPECT_EQ(problem({.url = "http://host/", .queryItems = {"=2"}}), "'=2' is no query item: write NAME=VALUE");
}

TEST(ToolOptionsTest, takesHeaderFieldsApartAtTheFirstColon) {
  const auto headers = headersOf({"X-One:1", "X-Two: \t a: b \t", "X-Empty:"});

  ASSERT_EQ(headers.count(), 3U);
  EXPECT_EQ(*headers.find("X-One"), "1");
  EXPECT_EQ(*headers.find("X-Two"), "a: b");
  EXPECT_EQ(*headers.find("X-Empty"), "");
}

TEST(ToolOptionsTest, joinsHeaderFieldsWhoseNamesDifferInCaseOnly) {
  const auto headers = headersOf({"X-Many: 1", "Other: a", "x-many: 2"});

  ASSERT_EQ(headers.count(), 2U);
  EXPECT_EQ(*headers.find("X-Many"), "1, 2");
}

TEST(ToolOptionsTest, refusesWhatIsNoHeaderField) {
  EXPECT_EQ(problem({.url = "http://host/", .headers = {"no colon"}}),
            "'no colon' is no header field: write 'NAME: VALUE'");
  EXPECT_NE(problem({.url = "http://host/", .headers = {"Bad Name: 1"}}), "");
  EXPECT_NE(problem({.url = "http://host/", .headers = {": 1"}}), "");
  EXPECT_NE(problem({.url = "http://host/", .headers = {"A: 1\r\nB: 2"}}), "");
}

TEST(ToolOptionsTest, readsTheBodyFromAFile) {
  const TemporaryDirectory folder;
  const std::string bytes("a\0b\xff", 4);

  const auto options = ToolOptions::from({.url = "http://host/", .bodyFile = folder.write("body", bytes)});

  EXPECT_EQ(options.body->view(), bytes);
  EXPECT_EQ(options.method, HTTPMethod::post);
}

TEST(ToolOptionsTest, saysWhyTheBodyCannotBeRead) {
  const TemporaryDirectory folder;

  const std::string missing = problem({.url = "http://host/", .bodyFile = folder / "missing"});
  const std::string directory = problem({.url = "http://host/", .bodyFile = folder.path()});

  EXPECT_NE(missing.find("No such file"), missing.npos) << missing;
  EXPECT_NE(directory.find("Is a directory"), directory.npos) << directory;
}

TEST(ToolOptionsTest, takesTheContentTypeFromItsOptionOrElseFromAHeaderField) {
  const CommandLine both{
      .url = "http://host/", .headers = {"content-type: text/csv"}, .data = "x", .contentType = "text/plain"};
  CommandLine field = both;
  field.contentType.reset();
  CommandLine none = field;
  none.headers.clear();

  EXPECT_EQ(ToolOptions::from(both).contentType.rawValue(), "text/plain");
  EXPECT_EQ(ToolOptions::from(field).contentType.rawValue(), "text/csv");
  EXPECT_EQ(ToolOptions::from(none).contentType.rawValue(), "application/octet-stream");
}

TEST(ToolOptionsTest, sendsJSONAsItWasWritten) {
  const auto options = ToolOptions::from({.url = "http://host/", .json = "{\"a\" : 1.50,\n\t\"a\": \"\\u00e9\"}"});

  EXPECT_EQ(options.body->view(), "{\"a\" : 1.50,\n\t\"a\": \"\\u00e9\"}");
  EXPECT_EQ(options.method, HTTPMethod::post);
  EXPECT_EQ(options.contentType, HTTPMediaType::json);
  EXPECT_EQ(options.acceptType, HTTPMediaType::json);
}

TEST(ToolOptionsTest, letsJSONHaveAMethodAndATypeOfItsOwn) {
  const auto options = ToolOptions::from(
      {.method = "PATCH", .url = "http://host/", .json = "[]", .contentType = "application/json-patch+json"});

  EXPECT_EQ(options.method, HTTPMethod::patch);
  EXPECT_EQ(options.contentType.rawValue(), "application/json-patch+json");
}

TEST(ToolOptionsTest, asksForAnythingUnlessJSONIsSent) {
  EXPECT_EQ(ToolOptions::from({.url = "http://host/", .data = "{}"}).acceptType, HTTPMediaType::any);
}

TEST(ToolOptionsTest, saysWhereATextStopsBeingJSON) {
  EXPECT_EQ(problemOfJSON("{\"id\": 7 \"x\": 1}"),
            "--json: the text is not JSON: expected a comma or a closing brace at byte 9 (after '{\"id\": 7 ')");
  EXPECT_EQ(problemOfJSON(""),
            "--json: the text is not JSON: expected a value at byte 0, where the text ends (at the start)");
  EXPECT_EQ(problemOfJSON("[1] x"),
            "--json: the text is not JSON: expected the end of the document at byte 4 (after '[1] ')");
  EXPECT_EQ(problemOfJSON("[\"\xff\"]"), "--json: the text is not UTF-8 (after '[')");
}

TEST(ToolOptionsTest, showsTheEndOfALongTextThatStopsBeingJSON) {
  const std::string problem =
      problemOfJSON("[\"" + std::string(100, 'a') + "\u4f60\u4f60\u4f60\u4f60\u4f60\u4f60\u4f60\",\n}");

  EXPECT_NE(problem.find("(after '...\u4f60\u4f60\u4f60\u4f60\u4f60\u4f60\u4f60\", ')"), problem.npos) << problem;
}

TEST(ToolOptionsTest, refusesOptionsOfABodyThatIsNotThere) {
  EXPECT_EQ(problem({.url = "http://host/", .gzip = true}), "--gzip needs a body: give --json, --data or --body-file");
  EXPECT_EQ(problem({.url = "http://host/", .contentType = "text/plain"}),
            "--content-type needs a body: give --json, --data, --body-file or --upload");
}

TEST(ToolOptionsTest, uploadsAFileWithTheTypeOfItsExtension) {
  const TemporaryDirectory folder;
  const std::string file = folder.write("report.csv", "a,b");

  const auto options = ToolOptions::from({.url = "http://host/", .upload = file});

  ASSERT_TRUE(options.uploadedFile);
  EXPECT_EQ(options.uploadedFile->fileSystemPath(), file);
  EXPECT_EQ(options.method, HTTPMethod::post);
  EXPECT_EQ(options.contentType.rawValue(), "text/csv");
  EXPECT_TRUE(options.isTransfer());
  EXPECT_FALSE(options.body);
}

TEST(ToolOptionsTest, letsAnUploadHaveAMethodAndATypeOfItsOwn) {
  const TemporaryDirectory folder;
  const CommandLine line{.method = "PUT",
                         .url = "http://host/",
                         .headers = {"Content-Type: text/x-own"},
                         .upload = folder.write("report.csv", "")};
  CommandLine optionToo = line;
  optionToo.contentType = "text/plain";

  EXPECT_EQ(ToolOptions::from(line).method, HTTPMethod::put);
  EXPECT_EQ(ToolOptions::from(line).contentType.rawValue(), "text/x-own");
  EXPECT_EQ(ToolOptions::from(optionToo).contentType.rawValue(), "text/plain");
}

TEST(ToolOptionsTest, saysWhyAFileCannotBeUploaded) {
  const TemporaryDirectory folder;
  const std::string missing = folder / "missing";

  EXPECT_EQ(problem({.url = "http://host/", .upload = missing}),
            "cannot read the file to upload: \"" + missing + "\": No such file or directory");
  EXPECT_EQ(problem({.url = "http://host/", .upload = folder.path()}),
            "cannot read the file to upload: \"" + folder.path().string() + "\": Is a directory");
}

TEST(ToolOptionsTest, uploadsRegularFilesOnly) {
  EXPECT_EQ(problem({.url = "http://host/", .upload = "/dev/null"}),
            "cannot read the file to upload: \"/dev/null\": Not a regular file");
}

TEST(ToolOptionsTest, makesAForm) {
  const auto options = ToolOptions::from({.url = "http://host/", .formSections = {"a=b", "c=d"}});

  ASSERT_EQ(options.formSections.size(), 2U);
  EXPECT_EQ(options.formSections[1].name, "c");
  EXPECT_EQ(options.method, HTTPMethod::post);
  EXPECT_EQ(options.contentType, HTTPMediaType::multipartFormData);
  EXPECT_TRUE(options.isTransfer());
}

TEST(ToolOptionsTest, leavesTheBoundaryOfAFormToTheLibrary) {
  const CommandLine mixed{.url = "http://host/", .formSections = {"a=b"}, .contentType = "multipart/mixed"};
  CommandLine bounded = mixed;
  bounded.contentType = "multipart/mixed; boundary=x";

  EXPECT_EQ(ToolOptions::from(mixed).contentType.rawValue(), "multipart/mixed");
  EXPECT_EQ(problem(bounded), "the boundary of a form is chosen when it is made: leave it out of the content type");
}

TEST(ToolOptionsTest, compressesBodiesInMemoryOnly) {
  const TemporaryDirectory folder;
  const std::string inMemoryOnly = "--gzip is for bodies in memory: give --json, --data or --body-file";

  EXPECT_EQ(problem({.url = "http://host/", .upload = folder.write("a", ""), .gzip = true}), inMemoryOnly);
  EXPECT_EQ(problem({.url = "http://host/", .formSections = {"a=b"}, .gzip = true}), inMemoryOnly);
}

TEST(ToolOptionsTest, downloadsIntoADirectoryThatIsThere) {
  const TemporaryDirectory folder;
  const std::string missing = folder / "missing";
  const std::string file = folder.write("file", "");

  EXPECT_EQ(ToolOptions::from({.url = "http://host/", .download = folder.path()}).downloadDirectory, folder.path());
  EXPECT_EQ(problem({.url = "http://host/", .download = missing}),
            "cannot save files in \"" + missing + "\": No such file or directory");
  EXPECT_EQ(problem({.url = "http://host/", .download = file}),
            "cannot save files in \"" + file + "\": Not a directory");
  EXPECT_EQ(problem({.method = "HEAD", .url = "http://host/", .download = folder.path()}),
            "the response to a HEAD request has no body to download");
}

TEST(ToolOptionsTest, refusesABodyInAHead) {
  EXPECT_EQ(problem({.method = "HEAD", .url = "http://host/", .data = "x"}), "a HEAD request cannot carry a body");
  EXPECT_EQ(problem({.method = "HEAD", .url = "http://host/", .json = "{}"}), "a HEAD request cannot carry a body");
}

TEST(ToolOptionsTest, takesCertificatesInDERForm) {
  const TemporaryDirectory folder;
  const std::string certificate = folder.write("root.der", CertificateAuthority().certificate().der());
  const std::string other = folder.write("root.pem", "-----BEGIN CERTIFICATE-----\n");

  EXPECT_EQ(ToolOptions::from({.url = "http://host/", .trustedCertificates = {certificate}}).trustedCertificates.size(),
            1U);
  EXPECT_EQ(problem({.url = "http://host/", .trustedCertificates = {certificate, other}}),
            "'" + other + "' is not a certificate in DER form");
  EXPECT_NE(problem({.url = "http://host/", .trustedCertificates = {folder / "missing"}}), "");
}

TEST(ToolOptionsTest, acceptsTheUsualStatusesAndThoseListed) {
  const auto options = ToolOptions::from({.url = "http://host/", .acceptedStatuses = {404, 999}});

  for (const int status : {200, 201, 206, 404, 999}) EXPECT_TRUE(options.accepts(status)) << status;
  for (const int status : {199, 207, 304, 400, 405, 500}) EXPECT_FALSE(options.accepts(status)) << status;
}

TEST(ToolOptionsTest, knowsTheLevelsOfVerbosity) {
  EXPECT_EQ(ToolOptions::from({.url = "http://host/"}).verbosity, HTTPVerbosityLevel::none);
  EXPECT_EQ(ToolOptions::from({.url = "http://host/", .verbosity = "brief"}).verbosity, HTTPVerbosityLevel::brief);
  EXPECT_EQ(ToolOptions::from({.url = "http://host/", .verbosity = "verbose"}).verbosity, HTTPVerbosityLevel::verbose);
}

}  // namespace
