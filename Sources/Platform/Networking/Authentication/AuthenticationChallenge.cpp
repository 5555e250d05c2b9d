#include "Platform/Networking/Authentication/AuthenticationChallenge.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "Platform/Networking/HTTPText.hpp"

namespace platform::networking {

using detail::isSpaceOrTab;
using detail::isTokenCharacter;
using detail::lowercased;

namespace {

/// Reads a field from its beginning to its end.
class ChallengeReader {
 public:
  explicit ChallengeReader(std::string_view text) : rest_(text) {}

  std::vector<AuthenticationChallenge> challenges() {
    while (skipSeparators()) {
      const bool mayBeginChallenge = std::exchange(isAtElement_, false);
      const std::string name = lowercased(token());
      if (!name.empty() && atEqualsSign()) {
        readValue(name);
      } else if (name.empty() || !mayBeginChallenge) {
        skipToComma();
      } else {
        found_.push_back({.scheme = name, .parameters = {}});
        isComplete_ = true;
        readAfterScheme();
      }
    }
    return std::move(found_);
  }

  /// From now on parameters belong to this one.
  void beginWithoutScheme() { found_.emplace_back(); }

 private:
  void skipSpaces() {
    while (!rest_.empty() && isSpaceOrTab(rest_.front())) rest_.remove_prefix(1);
  }
  /// Empty elements of a list are no fault (RFC 9110, 5.6.1.2). False at the end.
  bool skipSeparators() {
    while (!rest_.empty() && (isSpaceOrTab(rest_.front()) || rest_.front() == ',')) {
      isAtElement_ = isAtElement_ || rest_.front() == ',';
      rest_.remove_prefix(1);
    }
    return !rest_.empty();
  }
  /// Commas in strings do not count.
  void skipToComma() {
    bool isQuoted = false;
    std::size_t place = 0;
    for (; place < rest_.size() && (isQuoted || rest_[place] != ','); ++place) {
      if (rest_[place] == '"') isQuoted = !isQuoted;
      if (isQuoted && rest_[place] == '\\') ++place;
    }
    rest_.remove_prefix(std::min(place, rest_.size()));
  }
  std::string_view token() {
    std::size_t length = 0;
    while (length < rest_.size() && isTokenCharacter(rest_[length])) ++length;
    const std::string_view read = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return read;
  }
  bool atEqualsSign() {
    const std::string_view before = rest_;
    skipSpaces();
    if (!rest_.empty() && rest_.front() == '=') return true;
    rest_ = before;
    return false;
  }
  /// After a scheme there may be parameters, or a token68 (RFC 9110, 11.2): text with more characters than a token has,
  /// padded with "=" at its end.
  void readAfterScheme() {
    skipSpaces();
    const std::string_view before = rest_;
    const std::string_view first = token();
    if (!first.empty() && atEqualsSign() && !isPadding()) {
      readValue(lowercased(first));
    } else if (!before.empty() && before.front() != ',') {
      rest_ = before;
      skipToComma();
    }
  }
  bool isPadding() const {
    const std::size_t next = rest_.find_first_not_of("= \t");
    return next == rest_.npos || rest_[next] == ',' || rest_.substr(0, 2) == "==";
  }
  /// At the equals sign.
  void readValue(const std::string& name) {
    rest_.remove_prefix(1);
    skipSpaces();
    std::string value;
    if (!rest_.empty() && rest_.front() == '"') {
      if (!readString(value)) return dropLast();
    } else {
      value = token();
      if (value.empty()) return skipToComma();
    }
    if (!found_.empty() && isComplete_) found_.back().parameters.emplace_back(name, std::move(value));
  }
  /// At the quotation mark. False where the string does not end.
  bool readString(std::string& value) {
    rest_.remove_prefix(1);
    while (!rest_.empty() && rest_.front() != '"') {
      if (rest_.front() == '\\' && rest_.size() > 1) rest_.remove_prefix(1);
      value += rest_.front();
      rest_.remove_prefix(1);
    }
    if (rest_.empty()) return false;
    rest_.remove_prefix(1);
    return true;
  }
  void dropLast() {
    if (!found_.empty() && isComplete_) found_.pop_back();
    isComplete_ = false;
  }

  std::string_view rest_;
  /// Whether it is at the beginning of an element of the list: at that of the field, or after a comma.
  bool isAtElement_ = true;
  std::vector<AuthenticationChallenge> found_;
  /// Whether the last one is still being read.
  bool isComplete_ = true;
};

}  // namespace

const std::string* AuthenticationChallenge::parameter(std::string_view name) const {
  const auto found =
      std::find_if(parameters.begin(), parameters.end(), [&](const auto& each) { return each.first == name; });
  return found == parameters.end() ? nullptr : &found->second;
}

std::vector<AuthenticationChallenge> AuthenticationChallenge::parse(std::string_view field) {
  return ChallengeReader(field).challenges();
}

AuthenticationChallenge AuthenticationChallenge::ofParameters(std::string_view field) {
  ChallengeReader reader(field);
  reader.beginWithoutScheme();
  auto found = reader.challenges();
  return found.empty() ? AuthenticationChallenge() : std::move(found.front());
}

}  // namespace platform::networking
