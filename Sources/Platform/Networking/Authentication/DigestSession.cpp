#include "Platform/Networking/Authentication/DigestSession.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace platform::networking {

using detail::MessageDigest;
using Protection = DigestChallenge::Protection;

namespace {

std::string quotedString(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

bool isASCII(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// RFC 8187, 3.2.1.
std::string extendedValue(std::string_view text) {
  constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789!#$&+-.^_`|~";
  std::string value = "UTF-8''";
  for (const char c : text) {
    if (plain.find(c) != plain.npos) {
      value += c;
    } else {
      std::array<char, 4> escaped{};
      std::snprintf(escaped.data(), escaped.size(), "%%%02X", static_cast<unsigned char>(c));
      value += escaped.data();
    }
  }
  return value;
}

const char* nameOf(Protection protection) { return protection == Protection::auth ? "auth" : "auth-int"; }

}  // namespace

DigestSession::DigestSession(const DigestUser& user, DigestChallenge challenge, std::string cnonce)
    : challenge_(std::move(challenge)), cnonce_(std::move(cnonce)) {
  if (challenge_.hashesUser) {
    user_ = "username=" + quotedString(hash(user.name + ":" + challenge_.realm));
  } else if (challenge_.isUTF8 && !isASCII(user.name)) {
    user_ = "username*=" + extendedValue(user.name);
  } else {
    user_ = "username=" + quotedString(user.name);
  }
  secret_ = hash(user.name + ":" + challenge_.realm + ":" + user.password);
  // Of the first nonce, also when there is another one later (RFC 7616, 3.4.2).
  if (challenge_.isSession) secret_ = hash(secret_ + ":" + challenge_.nonce + ":" + cnonce_);
}

std::string DigestSession::hash(std::string_view text) const { return MessageDigest::hexOf(challenge_.function, text); }

std::string DigestSession::authorization(const DigestSubject& subject) {
  std::array<char, 9> count{};
  std::snprintf(count.data(), count.size(), "%08x", ++count_);
  std::string value =
      "Digest " + user_ + ", realm=" + quotedString(challenge_.realm) + ", uri=" + quotedString(subject.target);
  if (!challenge_.algorithm.empty()) value += ", algorithm=" + challenge_.algorithm;
  value += ", nonce=" + quotedString(challenge_.nonce);
  if (challenge_.protection != Protection::none)
    value += std::string(", nc=") + count.data() + ", cnonce=" + quotedString(cnonce_) +
             ", qop=" + nameOf(challenge_.protection);
  value += ", response=" + quotedString(response(subject, count.data()));
  if (challenge_.opaque) value += ", opaque=" + quotedString(*challenge_.opaque);
  if (challenge_.hashesUser) value += ", userhash=true";
  return value;
}

/// RFC 7616, 3.4.1 and 3.4.3; without a "qop", RFC 2069, 2.1.2.
std::string DigestSession::response(const DigestSubject& subject, const std::string& count) const {
  std::string covered = std::string(subject.method) + ":" + std::string(subject.target);
  if (challenge_.protection == Protection::authInt) covered += ":" + subject.bodyHash;
  const std::string hashed = hash(covered);
  if (challenge_.protection == Protection::none) return hash(secret_ + ":" + challenge_.nonce + ":" + hashed);
  return hash(secret_ + ":" + challenge_.nonce + ":" + count + ":" + cnonce_ + ":" + nameOf(challenge_.protection) +
              ":" + hashed);
}

void DigestSession::useNonce(std::string nonce) {
  if (nonce == challenge_.nonce) return;
  challenge_.nonce = std::move(nonce);
  count_ = 0;
}

}  // namespace platform::networking
