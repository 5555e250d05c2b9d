#pragma once

#include <cstddef>
#include <optional>
#include <utility>

#include "Platform/Networking/Pool/IntrusiveList.hpp"

namespace platform::networking {

class ConnectionBudget;
class ConnectionParty;

/// Permission for one connection, from before it is made until it is closed. Returned when it is destroyed. It does not
/// outlive the budget, nor the party it was given to.
class ConnectionSlot {
 public:
  /// Of a budget without a limit.
  ConnectionSlot() = default;
  ConnectionSlot(ConnectionSlot&& other) noexcept
      : budget_(std::exchange(other.budget_, nullptr)), holder_(std::exchange(other.holder_, nullptr)) {}
  ConnectionSlot& operator=(ConnectionSlot&& other) noexcept {
    std::swap(budget_, other.budget_);
    std::swap(holder_, other.holder_);
    return *this;
  }
  ~ConnectionSlot();

 private:
  friend class ConnectionBudget;
  ConnectionSlot(ConnectionBudget& budget, ConnectionParty& holder) : budget_(&budget), holder_(&holder) {}

  ConnectionBudget* budget_ = nullptr;
  ConnectionParty* holder_ = nullptr;
};

/// One that makes connections: a host. It stays where it is in memory while it waits or holds slots.
class ConnectionParty : public ListLinks<ConnectionParty> {
 public:
  ConnectionParty() = default;
  ConnectionParty(const ConnectionParty&) = delete;
  ConnectionParty& operator=(const ConnectionParty&) = delete;

  /// The slots that it has.
  std::size_t slots() const { return slots_; }
  bool waitsForSlot() const { return isWaiting_; }

 protected:
  virtual ~ConnectionParty() = default;

 private:
  friend class ConnectionBudget;
  friend class ConnectionSlot;

  /// It waited, and it is its turn. A slot that it does not keep goes to the next.
  virtual void slotGranted(ConnectionSlot slot) = 0;
  /// Whether it would use a slot; otherwise it waits no more.
  virtual bool wantsSlot() const = 0;

  std::size_t slots_ = 0;
  bool isWaiting_ = false;
};

/// Told when a slot has become free, or is wanted, while somebody waits. It calls `grant` soon, not from in here.
class ConnectionBudgetOwner {
 public:
  virtual void slotsChanged() = 0;

 protected:
  ~ConnectionBudgetOwner() = default;
};

/// Divides a limited number of connections among hosts: of those that wait the one with the fewest comes first, among
/// equals the one that has waited longest. Without a limit everything here takes no time. For one thread.
class ConnectionBudget {
 public:
  /// `limit` 0: none.
  ConnectionBudget(std::size_t limit, ConnectionBudgetOwner& owner) : limit_(limit), owner_(owner) {}
  ConnectionBudget(const ConnectionBudget&) = delete;
  ConnectionBudget& operator=(const ConnectionBudget&) = delete;

  bool isLimited() const { return limit_ > 0; }
  std::size_t taken() const { return taken_; }
  bool isWaitedFor() const { return !waiting_.isEmpty(); }

  /// A slot, unless all are taken or somebody waits already: the party waits then, once, until it is granted one or
  /// `stopWaiting`.
  std::optional<ConnectionSlot> take(ConnectionParty& party);
  void stopWaiting(ConnectionParty& party);
  /// Hands out what is free. What those who get it do may change everything here.
  void grant();
  /// Whether a connection of that party which has just become free is to be closed for another one: one that waits and
  /// has none, or fewer by two at least, so that both are better balanced then. The party no longer waits where it did;
  /// it may wait again, after the others.
  bool yields(ConnectionParty& party);

 private:
  friend class ConnectionSlot;
  ConnectionSlot slotFor(ConnectionParty& party);
  /// Null when nobody else waits.
  ConnectionParty* poorest(const ConnectionParty* except);
  void giveBack(ConnectionParty& holder);

  const std::size_t limit_;
  ConnectionBudgetOwner& owner_;
  std::size_t taken_ = 0;
  IntrusiveList<ConnectionParty> waiting_;
};

}  // namespace platform::networking
