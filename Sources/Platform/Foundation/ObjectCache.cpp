#include "Platform/Foundation/ObjectCache.hpp"

#include <iterator>
#include <list>
#include <unordered_map>
#include <utility>

#include "Platform/Detail/Locking.hpp"

namespace platform {

struct ObjectCache::State {
  struct Entry {
    std::string key;
    Data data;
    std::size_t cost() const { return entryCost + key.size() + data.count(); }
  };
  using Entries = std::list<Entry>;

  detail::Mutex mutex;
  const std::size_t limit;
  std::size_t totalCost CORVANE_GUARDED_BY(mutex) = 0;
  // The most recently used first. The index refers to the keys inside.
  Entries entries CORVANE_GUARDED_BY(mutex);
  std::unordered_map<std::string_view, Entries::iterator> index CORVANE_GUARDED_BY(mutex);

  explicit State(std::size_t totalCostLimit) : limit(totalCostLimit) {}

  void remove(Entries::iterator entry) CORVANE_REQUIRES(mutex) {
    totalCost -= entry->cost();
    index.erase(entry->key);
    entries.erase(entry);
  }

  void removeIfPresent(std::string_view key) CORVANE_REQUIRES(mutex) {
    const auto found = index.find(key);
    if (found != index.end()) remove(found->second);
  }

  void add(Entry entry) CORVANE_REQUIRES(mutex) {
    if (entry.cost() > limit) return;
    while (entry.cost() > limit - totalCost) remove(std::prev(entries.end()));
    totalCost += entry.cost();
    entries.push_front(std::move(entry));
    index.emplace(entries.front().key, entries.begin());
  }
};

ObjectCache::ObjectCache(std::size_t totalCostLimit) : state_(std::make_unique<State>(totalCostLimit)) {}

ObjectCache::~ObjectCache() = default;

std::optional<Data> ObjectCache::object(std::string_view key) {
  const detail::MutexLock lock(state_->mutex);
  const auto found = state_->index.find(key);
  if (found == state_->index.end()) return std::nullopt;
  state_->entries.splice(state_->entries.begin(), state_->entries, found->second);
  return found->second->data;
}

void ObjectCache::setObject(Data data, std::string key) {
  const detail::MutexLock lock(state_->mutex);
  state_->removeIfPresent(key);
  state_->add({std::move(key), std::move(data)});
}

void ObjectCache::removeObject(std::string_view key) {
  const detail::MutexLock lock(state_->mutex);
  state_->removeIfPresent(key);
}

void ObjectCache::removeAll() {
  const detail::MutexLock lock(state_->mutex);
  state_->index.clear();
  state_->entries.clear();
  state_->totalCost = 0;
}

std::size_t ObjectCache::count() const {
  const detail::MutexLock lock(state_->mutex);
  return state_->entries.size();
}

std::size_t ObjectCache::totalCost() const {
  const detail::MutexLock lock(state_->mutex);
  return state_->totalCost;
}

}  // namespace platform
