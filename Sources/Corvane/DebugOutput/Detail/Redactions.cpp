#include "Corvane/DebugOutput/Detail/Redactions.hpp"

#include <map>
#include <utility>
#include <vector>

#include "Corvane/Settings.hpp"
#include "Platform/Detail/Locking.hpp"

namespace corvane {
namespace detail {

using platform::detail::Mutex;
using platform::detail::MutexLock;

namespace {

struct Redactions {
  static Redactions& shared() {
    static Redactions& instance = *new Redactions;
    return instance;
  }

  const HTTPRedaction* find(const std::optional<std::string>& identifier) const CORVANE_REQUIRES(mutex) {
    const auto found = ofConfigurations.find(identifier);
    return found == ofConfigurations.end() ? nullptr : &found->second;
  }

  Mutex mutex;
  HTTPRedaction common CORVANE_GUARDED_BY(mutex);
  /// By the identifiers of configurations; absent: the default one.
  std::map<std::optional<std::string>, HTTPRedaction> ofConfigurations CORVANE_GUARDED_BY(mutex);
};

constinit thread_local const RedactionScope* innermostScope = nullptr;

void append(std::vector<std::string>& names, const std::vector<std::string>& more) {
  names.insert(names.end(), more.begin(), more.end());
}

}  // namespace

RedactionScope::RedactionScope(std::optional<std::string> identifier, const HTTPRedaction* redaction)
    : identifier_(std::move(identifier)), redaction_(redaction), outer_(std::exchange(innermostScope, this)) {}

RedactionScope::~RedactionScope() { innermostScope = outer_; }

const HTTPRedaction* RedactionScope::find(const std::optional<std::string>& identifier) {
  for (const RedactionScope* scope = innermostScope; scope; scope = scope->outer_) {
    if (scope->redaction_ && scope->identifier_ == identifier) return scope->redaction_;
  }
  return nullptr;
}

HTTPRedaction redactionFor(const std::optional<std::string>& identifier) {
  Redactions& all = Redactions::shared();
  const MutexLock lock(all.mutex);
  HTTPRedaction result = all.common;
  const HTTPRedaction* own = RedactionScope::find(identifier);
  if (!own) own = all.find(identifier);
  if (!own) own = all.find(std::nullopt);
  if (!own) return result;
  append(result.headerFields, own->headerFields);
  append(result.queryItems, own->queryItems);
  result.hidesURLCredentials = result.hidesURLCredentials || own->hidesURLCredentials;
  return result;
}

void setRedaction(std::optional<std::string> identifier, HTTPRedaction redaction) {
  Redactions& all = Redactions::shared();
  const MutexLock lock(all.mutex);
  all.ofConfigurations.insert_or_assign(std::move(identifier), std::move(redaction));
}

void removeRedaction(const std::optional<std::string>& identifier) {
  Redactions& all = Redactions::shared();
  const MutexLock lock(all.mutex);
  all.ofConfigurations.erase(identifier);
}

void removeRedactions() {
  Redactions& all = Redactions::shared();
  const MutexLock lock(all.mutex);
  all.ofConfigurations.clear();
}

}  // namespace detail

HTTPRedaction Corvane::redaction() {
  detail::Redactions& all = detail::Redactions::shared();
  const detail::MutexLock lock(all.mutex);
  return all.common;
}

void Corvane::setRedaction(HTTPRedaction redaction) {
  detail::Redactions& all = detail::Redactions::shared();
  const detail::MutexLock lock(all.mutex);
  all.common = std::move(redaction);
}

}  // namespace corvane
