#include "CommandLine.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "UsageError.hpp"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::optional<CommandLine> parsed(std::vector<const char*> words) {
  words.insert(words.begin(), "corvane");
  return parseCommandLine(static_cast<int>(words.size()), words.data());
}

/// What the user is told about these words; empty when they will do.
std::string problem(const std::vector<const char*>& words) {
  try {
    parsed(words);
    return "";
  } catch (const UsageError& error) {
    return error.what();
  }
}

TEST(CommandLineTest, needsNothingButAURL) {
  const auto line = parsed({"http://host/"});

  ASSERT_TRUE(line);
  EXPECT_EQ(line->url, "http://host/");
  EXPECT_FALSE(line->method);
  EXPECT_EQ(line->timeout, 60);
  EXPECT_EQ(line->verbosity, "none");
  EXPECT_EQ(line->repeat, 1);
  EXPECT_EQ(line->parallel, 1);
  EXPECT_FALSE(line->report);
  EXPECT_FALSE(line->curl);
}

TEST(CommandLineTest, hasShortNamesForWhatIsTypedOften) {
  const auto line = parsed({"http://host/", "-H", "A: 1", "-q", "b=2", "-d", "text", "-o", "file", "-m", "2", "-i"});

  EXPECT_THAT(line->headers, ElementsAre("A: 1"));
  EXPECT_THAT(line->queryItems, ElementsAre("b=2"));
  EXPECT_EQ(line->data, "text");
  EXPECT_EQ(line->output, "file");
  EXPECT_EQ(line->timeout, 2);
  EXPECT_TRUE(line->includesHead);
  EXPECT_EQ(parsed({"http://host/", "-j", "1"})->json, "1");
  EXPECT_EQ(parsed({"http://host/", "-T", "file"})->upload, "file");
  EXPECT_THAT(parsed({"http://host/", "-F", "a=b"})->formSections, ElementsAre("a=b"));
  EXPECT_TRUE(parsed({"-I", "http://host/"})->asksForHead);
}

TEST(CommandLineTest, asksForAHeadInOneWay) {
  EXPECT_EQ(problem({"HEAD", "http://host/", "--head"}), "");
  EXPECT_EQ(problem({"PUT", "http://host/", "--head"}), "--head sends HEAD: leave out PUT, or give --include");
  EXPECT_EQ(problem({"http://host/", "--head", "--data", "a"}), "--head sends no body");
  EXPECT_EQ(problem({"http://host/", "--head", "--output", "a"}), "there is no body to save with --head");
  EXPECT_EQ(problem({"http://host/", "--include", "--report", "json"}),
            "--report tells the head of each response: leave out --include and --head");
}

TEST(CommandLineTest, takesTheMethodBeforeTheURL) {
  const auto line = parsed({"DELETE", "http://host/"});

  EXPECT_EQ(line->method, "DELETE");
  EXPECT_EQ(line->url, "http://host/");
}

TEST(CommandLineTest, takesOptionsBeforeBetweenAndAfterTheWords) {
  const auto line = parsed({"--header", "A: 1", "PUT", "--query", "b=2", "http://host/", "--header", "C: 3", "--gzip"});

  EXPECT_EQ(line->method, "PUT");
  EXPECT_EQ(line->url, "http://host/");
  EXPECT_THAT(line->headers, ElementsAre("A: 1", "C: 3"));
  EXPECT_THAT(line->queryItems, ElementsAre("b=2"));
  EXPECT_TRUE(line->gzip);
}

TEST(CommandLineTest, takesAValueAfterAnEqualsSign) { EXPECT_EQ(parsed({"--data=a=b", "http://host/"})->data, "a=b"); }

TEST(CommandLineTest, takesEmptyValuesAndValuesThatLookLikeOptions) {
  EXPECT_EQ(parsed({"--data", "", "http://host/"})->data, "");
  EXPECT_EQ(parsed({"--data", "-", "http://host/"})->data, "-");
  EXPECT_EQ(parsed({"--data=--gzip", "http://host/"})->data, "--gzip");
}

TEST(CommandLineTest, leavesTheMeaningOfTextsToOthers) {
  EXPECT_EQ(problem({"no url at all", "--header", "no colon"}), "");
}

TEST(CommandLineTest, wantsAURL) { EXPECT_EQ(problem({}), "a URL is needed"); }

TEST(CommandLineTest, wantsAURLAfterAMethod) { EXPECT_EQ(problem({"GET"}), "a URL is needed after GET"); }

TEST(CommandLineTest, takesSeveralURLs) {
  const auto plain = parsed({"http://host/1", "http://host/2", "--serial", "http://host/3"});
  EXPECT_FALSE(plain->method);
  EXPECT_EQ(plain->url, "http://host/1");
  EXPECT_THAT(plain->furtherURLs, ElementsAre("http://host/2", "http://host/3"));
  EXPECT_TRUE(plain->serial);

  const auto withMethod = parsed({"DELETE", "http://host/1", "http://host/2"});
  EXPECT_EQ(withMethod->method, "DELETE");
  EXPECT_EQ(withMethod->url, "http://host/1");
  EXPECT_THAT(withMethod->furtherURLs, ElementsAre("http://host/2"));
}

TEST(CommandLineTest, takesRetriesAndPolls) {
  const auto line = parsed({"http://host/", "--retry", "interval=1,limit=3", "--poll", "0.5", "--count", "7"});

  EXPECT_EQ(line->retry, "interval=1,limit=3");
  EXPECT_EQ(line->poll, 0.5);
  EXPECT_EQ(line->count, 7);
}

TEST(CommandLineTest, wantsOneMannerOfSending) {
  EXPECT_EQ(problem({"http://host/", "--serial", "--parallel", "2"}), "give one of --serial and --parallel");
  EXPECT_EQ(problem({"http://host/", "--user", "a:b", "--bearer", "c"}), "give one of --user and --bearer");
  EXPECT_EQ(problem({"http://host/", "--auth", "digest"}), "--auth needs --user");
  EXPECT_EQ(problem({"http://host/", "--no-proxy", "a"}), "--no-proxy needs --proxy");
  EXPECT_EQ(problem({"http://host/", "--proxy-auth", "digest"}), "--proxy-auth needs --proxy");
  EXPECT_THAT(problem({"http://host/", "--proxy", "http://a:b@p:1", "--proxy-auth", "ntlm"}),
              HasSubstr("'ntlm' is no kind of authentication"));
  EXPECT_EQ(problem({"http://host/", "--follow", "-1"}),
            "--follow: '-1' is none of: no, same-origin, a number from 0 to 1000");
  EXPECT_EQ(problem({"http://host/", "--count", "2"}), "--count needs --poll; --repeat sends so many times");
  EXPECT_EQ(problem({"http://host/", "--poll", "1", "--repeat", "2"}),
            "--poll cannot be joined with --repeat and --parallel: give --count");
  EXPECT_EQ(problem({"http://host/", "--poll", "1", "--parallel", "2"}),
            "--poll cannot be joined with --repeat and --parallel: give --count");
  EXPECT_EQ(problem({"http://host/1", "http://host/2", "--poll", "1"}), "--poll takes one URL");
}

TEST(CommandLineTest, pollsAtMostOnceAMillisecond) {
  EXPECT_EQ(problem({"http://host/", "--poll", "0.001"}), "");
  EXPECT_THAT(problem({"http://host/", "--poll", "0"}), HasSubstr("'0' is not a number of seconds from 0.001"));
  EXPECT_THAT(problem({"http://host/", "--poll", "-1"}), HasSubstr("from 0.001"));
  EXPECT_THAT(problem({"http://host/", "--poll", "often"}), HasSubstr("from 0.001"));
  EXPECT_THAT(problem({"http://host/", "--poll", "1", "--count", "0"}), HasSubstr("'0' is not a number from 1 to"));
}

TEST(CommandLineTest, saysWhichOptionIsNotKnown) {
  EXPECT_THAT(problem({"--nope", "http://host/"}), HasSubstr("--nope"));
}

TEST(CommandLineTest, saysWhichOptionLacksItsValue) {
  EXPECT_EQ(problem({"http://host/", "--header"}), "--header needs a value");
  EXPECT_EQ(problem({"http://host/", "--output"}), "--output needs a value");
}

TEST(CommandLineTest, saysWhichOptionWasGivenTwice) {
  EXPECT_EQ(problem({"http://host/", "--data", "a", "--data", "b"}), "--data may be given only once");
  EXPECT_EQ(problem({"http://host/", "--timeout", "1", "--timeout", "2"}), "--timeout may be given only once");
}

TEST(CommandLineTest, takesOneBodyOnly) {
  const std::string twoBodies = "a request has one body: give one of --json, --data, --body-file, --upload and --form";

  EXPECT_EQ(problem({"http://host/", "--data", "a", "--body-file", "b"}), twoBodies);
  EXPECT_EQ(problem({"http://host/", "--json", "{}", "--data", "a"}), twoBodies);
  EXPECT_EQ(problem({"http://host/", "--body-file", "b", "--json", "{}"}), twoBodies);
  EXPECT_EQ(problem({"http://host/", "--upload", "b", "--json", "{}"}), twoBodies);
  EXPECT_EQ(problem({"http://host/", "--upload", "b", "--form", "a=b"}), twoBodies);
  EXPECT_EQ(problem({"http://host/", "--form", "a=b", "--data", "a"}), twoBodies);
}

TEST(CommandLineTest, takesSeveralSectionsOfAForm) {
  const auto line = parsed({"--form", "a=b", "http://host/", "--form", "photo=@ada.png;type=image/png"});

  EXPECT_THAT(line->formSections, ElementsAre("a=b", "photo=@ada.png;type=image/png"));
  EXPECT_EQ(line->url, "http://host/");
  EXPECT_TRUE(line->hasBody());
}

TEST(CommandLineTest, takesAnUpload) {
  const auto line = parsed({"PUT", "http://host/", "--upload", "a.bin"});

  EXPECT_EQ(line->upload, "a.bin");
  EXPECT_EQ(line->method, "PUT");
  EXPECT_TRUE(line->hasBody());
}

TEST(CommandLineTest, downloadsIntoTheCurrentDirectoryUnlessOneIsNamed) {
  EXPECT_FALSE(parsed({"http://host/"})->download);
  EXPECT_EQ(parsed({"http://host/", "--download"})->download, ".");
  EXPECT_EQ(parsed({"http://host/", "--download", "--gzip"})->download, ".");
  EXPECT_EQ(parsed({"http://host/", "--download", "folder"})->download, "folder");
  EXPECT_EQ(parsed({"http://host/", "--download=folder"})->download, "folder");
}

TEST(CommandLineTest, doesNotTakeTheURLForTheDirectoryOfADownload) {
  const auto line = parsed({"GET", "--download", "https://host/"});

  EXPECT_EQ(line->download, ".");
  EXPECT_EQ(line->method, "GET");
  EXPECT_EQ(line->url, "https://host/");
}

TEST(CommandLineTest, takesAtMostOnePlaceForTheResponse) {
  EXPECT_EQ(problem({"http://host/", "--download", "--output", "a"}),
            "a response goes to one place: give one of --download and --output");
}

TEST(CommandLineTest, goesOnWithOneFileOnly) {
  const auto line = parsed({"http://host/", "--output", "a", "--continue", "--digest", "sha256:0"});
  EXPECT_TRUE(line->continues);
  EXPECT_EQ(line->digest, "sha256:0");

  EXPECT_THAT(problem({"http://host/", "--continue"}), HasSubstr("--continue needs --output"));
  EXPECT_THAT(problem({"http://host/", "--continue", "--download"}), HasSubstr("--continue needs --output"));
  EXPECT_THAT(problem({"http://host/", "--continue", "--output", "a", "--data", "x"}), HasSubstr("is for a GET"));
  EXPECT_THAT(problem({"PUT", "http://host/", "--continue", "--output", "a"}), HasSubstr("is for a GET"));
  EXPECT_THAT(problem({"http://host/", "--continue", "--output", "a", "--repeat", "2"}), HasSubstr("one URL, once"));
  EXPECT_THAT(problem({"http://host/", "http://host/b", "--continue", "--output", "a"}), HasSubstr("one URL, once"));
  EXPECT_THAT(problem({"http://host/", "--digest", "sha256:0"}), HasSubstr("--digest needs --output or --download"));
  EXPECT_THAT(problem({"http://host/", "--digest", "sha256:0", "--output", "a", "--upload", "b"}),
              HasSubstr("cannot be joined"));
  EXPECT_EQ(problem({"http://host/", "--digest", "sha256:0", "--download"}), "");
}

TEST(CommandLineTest, downloadsTheResponseToABodyInMemoryOnly) {
  const std::string both = "--download cannot be joined with --upload and --form: give --output, or another body";

  EXPECT_EQ(problem({"http://host/", "--download", "--upload", "a"}), both);
  EXPECT_EQ(problem({"http://host/", "--download", "--form", "a=b"}), both);
  EXPECT_EQ(problem({"http://host/", "--download", "--data", "a"}), "");
}

TEST(CommandLineTest, takesJSONAndTheWishToSeeItAsItCame) {
  const auto line = parsed({"--json", "{\"id\": 7}", "http://host/", "--raw"});

  EXPECT_EQ(line->json, "{\"id\": 7}");
  EXPECT_TRUE(line->raw);
  EXPECT_FALSE(parsed({"http://host/"})->raw);
}

TEST(CommandLineTest, takesFractionsOfSeconds) {
  EXPECT_EQ(parsed({"http://host/", "--timeout", "0.25"})->timeout, 0.25);
  EXPECT_EQ(parsed({"http://host/", "--cancel-after", "0"})->cancelAfter, 0);
}

TEST(CommandLineTest, refusesWhatIsNoTime) {
  for (const char* text : {"0", "-1", "soon", "", "inf", "nan", "1s"}) {
    EXPECT_EQ(problem({"http://host/", "--timeout", text}),
              "--timeout: '" + std::string(text) + "' is not a positive number of seconds");
  }
  EXPECT_EQ(problem({"http://host/", "--cancel-after", "-1"}), "--cancel-after: '-1' is not a number of seconds");
}

TEST(CommandLineTest, refusesNumbersOutOfRange) {
  EXPECT_EQ(problem({"http://host/", "--repeat", "0"}), "--repeat: '0' is not a number from 1 to 1000000");
  EXPECT_EQ(problem({"http://host/", "--parallel", "100001"}), "--parallel: '100001' is not a number from 1 to 100000");
  EXPECT_EQ(problem({"http://host/", "--accept-status", "99"}),
            "--accept-status: '99' is not a number from 100 to 999");
  EXPECT_EQ(problem({"http://host/", "--repeat", "2.5"}), "--repeat: '2.5' is not a number from 1 to 1000000");
  EXPECT_EQ(problem({"http://host/", "--repeat", "99999999999999999999"}),
            "--repeat: '99999999999999999999' is not a number from 1 to 1000000");
}

TEST(CommandLineTest, refusesWordsThatAreNotOffered) {
  EXPECT_EQ(problem({"http://host/", "--report", "xml"}), "--report: 'xml' is no kind of report; there is json");
  EXPECT_EQ(problem({"http://host/", "--verbosity", "loud"}),
            "--verbosity: 'loud' is no level; there are none, brief and verbose");
}

TEST(CommandLineTest, answersARequestForHelpItself) {
  ::testing::internal::CaptureStdout();

  const auto line = parsed({"--help"});

  const std::string text = ::testing::internal::GetCapturedStdout();
  EXPECT_FALSE(line);
  EXPECT_THAT(text, HasSubstr("Usage: corvane [METHOD] URL... [OPTION...]"));
  EXPECT_THAT(text, HasSubstr("Exit status:"));
}

TEST(CommandLineTest, keepsTheHelpWithinATerminalsWidth) {
  ::testing::internal::CaptureStdout();

  parsed({"--help"});

  std::string text = ::testing::internal::GetCapturedStdout();
  while (!text.empty()) {
    const std::string line = text.substr(0, text.find('\n'));
    EXPECT_LE(line.size(), 100U) << line;
    text.erase(0, line.size() + 1);
  }
}

TEST(CommandLineTest, namesTheOptionThatWasProbablyMeant) {
  EXPECT_EQ(problem({"http://host/", "--heade", "X: y"}), "there is no option --heade; did you mean --header?");
  EXPECT_EQ(problem({"http://host/", "--paralel=4"}), "there is no option --paralel; did you mean --parallel?");
  EXPECT_EQ(problem({"http://host/", "--wait"}), "there is no option --wait; did you mean --wait-for-connectivity?");
  EXPECT_EQ(problem({"http://host/", "--colour"}), "there is no option --colour");
  EXPECT_EQ(problem({"http://host/", "--secret=s3cret"}), "there is no option --secret");
}

TEST(CommandLineTest, saysWhatToWriteForTheOptionsOfOthers) {
  const std::string method = "there is no option -X: the method stands before the URL, as in 'corvane PUT URL'";
  EXPECT_EQ(problem({"-X", "PUT", "http://host/"}), method);
  EXPECT_EQ(problem({"-XPUT", "http://host/"}), method);
  EXPECT_EQ(problem({"http://host/", "--cacert", "a.pem"}),
            "there is no option --cacert: --trust FILE trusts a certificate of your own, in DER");
}

}  // namespace
