#include "Platform/Foundation/Locale.hpp"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Foundation/Detail/ASCII.hpp"

namespace platform {

namespace {

bool isTag(std::string_view text, std::size_t shortest, std::size_t longest, bool (*isMember)(char)) {
  return text.size() >= shortest && text.size() <= longest && std::all_of(text.begin(), text.end(), isMember);
}

/// The script that a modifier stands for ("sr_RS@latin"), or nothing.
std::string_view script(std::string_view modifier) {
  if (modifier == "latin") return "Latn";
  if (modifier == "cyrillic") return "Cyrl";
  if (modifier == "devanagari") return "Deva";
  return {};
}

/// "de_DE.UTF-8" as "de-DE"; empty for what is no locale's name and for the locales of no language.
std::string languageTag(std::string_view locale) {
  const std::size_t at = locale.find('@');
  const std::string_view modifier = at == std::string_view::npos ? "" : locale.substr(at + 1);
  locale = locale.substr(0, std::min(locale.find('.'), at));
  const std::size_t separator = locale.find_first_of("_-");
  const std::string_view language = locale.substr(0, separator);
  const std::string_view territory = separator == std::string_view::npos ? "" : locale.substr(separator + 1);
  if (locale == "POSIX" || !isTag(language, 2, 8, detail::isLetter)) return "";
  if (separator != std::string_view::npos && !isTag(territory, 2, 3, detail::isLetterOrDigit)) return "";
  std::string tag;
  for (const char character : language) tag += detail::asciiLower(character);
  if (!script(modifier).empty()) tag.append("-").append(script(modifier));
  if (!territory.empty()) tag += '-';
  for (const char character : territory) tag += detail::asciiUpper(character);
  return tag;
}

std::string_view variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

std::string_view environmentLocale() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (!variable(name).empty()) return variable(name);
  }
  return "";
}

std::vector<std::string> environmentLanguages() {
  std::vector<std::string> tags;
  const std::string_view locale = environmentLocale();
  const std::string ownTag = languageTag(locale);
  if (ownTag.empty()) return tags;
  std::string_view list = variable("LANGUAGE");
  if (list.empty()) return {ownTag};
  while (true) {
    const std::size_t colon = list.find(':');
    const std::string tag = languageTag(list.substr(0, colon));
    if (!tag.empty() && std::find(tags.begin(), tags.end(), tag) == tags.end()) tags.push_back(tag);
    if (colon == std::string_view::npos) return tags;
    list.remove_prefix(colon + 1);
  }
}

struct Settings {
  detail::Mutex mutex;
  std::optional<std::vector<std::string>> tags CORVANE_GUARDED_BY(mutex);
};

Settings& settings() {
  static Settings& shared = *new Settings;
  return shared;
}

}  // namespace

std::vector<std::string> Locale::preferredLanguages() {
  const detail::MutexLock lock(settings().mutex);
  auto& tags = settings().tags;
  if (!tags) tags = environmentLanguages();
  return *tags;
}

void Locale::setPreferredLanguages(std::optional<std::vector<std::string>> tags) {
  const detail::MutexLock lock(settings().mutex);
  settings().tags = std::move(tags);
}

}  // namespace platform
