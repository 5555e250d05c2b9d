#include "Platform/Foundation/Locale.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace {

using platform::Locale;
using testing::ElementsAre;
using testing::IsEmpty;

using Variables = std::map<std::string, std::string>;

class LocaleTest : public testing::Test {
 protected:
  LocaleTest() {
    for (const char* name : names) {
      const char* value = std::getenv(name);
      if (value != nullptr) saved_[name] = value;
    }
  }
  ~LocaleTest() override {
    apply(saved_);
    Locale::setPreferredLanguages(std::nullopt);
  }

  /// What is preferred when exactly these variables are set.
  static std::vector<std::string> languages(const Variables& variables) {
    apply(variables);
    Locale::setPreferredLanguages(std::nullopt);
    return Locale::preferredLanguages();
  }

 private:
  static constexpr const char* names[] = {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"};

  static void apply(const Variables& variables) {
    for (const char* name : names) ::unsetenv(name);
    for (const auto& [name, value] : variables) ::setenv(name.c_str(), value.c_str(), 1);
  }

  Variables saved_;
};

TEST_F(LocaleTest, turnsALocaleIntoALanguageTag) {
  EXPECT_THAT(languages({{"LANG", "de_DE.UTF-8"}}), ElementsAre("de-DE"));
  EXPECT_THAT(languages({{"LANG", "fr"}}), ElementsAre("fr"));
  EXPECT_THAT(languages({{"LANG", "de_DE@euro"}}), ElementsAre("de-DE"));
  EXPECT_THAT(languages({{"LANG", "sr_RS.UTF-8@latin"}}), ElementsAre("sr-Latn-RS"));
  EXPECT_THAT(languages({{"LANG", "es_419"}}), ElementsAre("es-419"));
  EXPECT_THAT(languages({{"LANG", "EN_us"}}), ElementsAre("en-US"));
}

TEST_F(LocaleTest, prefersNothingInTheLocalesOfNoLanguage) {
  EXPECT_THAT(languages({}), IsEmpty());
  EXPECT_THAT(languages({{"LANG", ""}}), IsEmpty());
  EXPECT_THAT(languages({{"LANG", "C"}}), IsEmpty());
  EXPECT_THAT(languages({{"LANG", "C.UTF-8"}}), IsEmpty());
  EXPECT_THAT(languages({{"LANG", "POSIX"}}), IsEmpty());
  EXPECT_THAT(languages({{"LANG", "C"}, {"LANGUAGE", "de"}}), IsEmpty());
}

TEST_F(LocaleTest, takesTheFirstVariableThatIsSet) {
  EXPECT_THAT(languages({{"LC_ALL", "de_DE"}, {"LC_MESSAGES", "fr_FR"}, {"LANG", "en_US"}}), ElementsAre("de-DE"));
  EXPECT_THAT(languages({{"LC_ALL", ""}, {"LC_MESSAGES", "fr_FR"}, {"LANG", "en_US"}}), ElementsAre("fr-FR"));
  EXPECT_THAT(languages({{"LC_ALL", "C"}, {"LANG", "en_US"}}), IsEmpty());
}

TEST_F(LocaleTest, readsAListOfLanguagesEachOnce) {
  EXPECT_THAT(languages({{"LANG", "de_DE.UTF-8"}, {"LANGUAGE", "de_AT:de:en_GB:de:fr"}}),
              ElementsAre("de-AT", "de", "en-GB", "fr"));
}

TEST_F(LocaleTest, leavesOutWhatIsNoLocaleName) {
  EXPECT_THAT(languages({{"LANG", "de\r\nX: y"}}), IsEmpty());
  EXPECT_THAT(languages({{"LANG", "de_DE"}, {"LANGUAGE", ":en:x y:/etc/passwd:d:de_:12:fr_FR_x:"}}), ElementsAre("en"));
}

TEST_F(LocaleTest, readsTheEnvironmentOnce) {
  EXPECT_THAT(languages({{"LANG", "de_DE"}}), ElementsAre("de-DE"));
  ::setenv("LANG", "fr_FR", 1);

  EXPECT_THAT(Locale::preferredLanguages(), ElementsAre("de-DE"));
}

TEST_F(LocaleTest, listensToTheApplicationFirst) {
  Locale::setPreferredLanguages(std::vector<std::string>{"en-US", "fr"});
  EXPECT_THAT(Locale::preferredLanguages(), ElementsAre("en-US", "fr"));

  Locale::setPreferredLanguages(std::vector<std::string>{});
  EXPECT_THAT(Locale::preferredLanguages(), IsEmpty());
}

}  // namespace
