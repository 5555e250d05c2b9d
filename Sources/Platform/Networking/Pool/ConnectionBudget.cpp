#include "Platform/Networking/Pool/ConnectionBudget.hpp"

namespace platform::networking {

ConnectionSlot::~ConnectionSlot() {
  if (budget_) budget_->giveBack(*holder_);
}

std::optional<ConnectionSlot> ConnectionBudget::take(ConnectionParty& party) {
  if (!isLimited()) return ConnectionSlot();
  if (taken_ < limit_ && waiting_.isEmpty()) return slotFor(party);
  if (!party.isWaiting_) {
    party.isWaiting_ = true;
    waiting_.append(party);
  }
  owner_.slotsChanged();
  return std::nullopt;
}

void ConnectionBudget::stopWaiting(ConnectionParty& party) {
  if (!std::exchange(party.isWaiting_, false)) return;
  waiting_.remove(party);
}

void ConnectionBudget::grant() {
  while (taken_ < limit_) {
    ConnectionParty* const next = poorest(nullptr);
    if (!next) return;
    stopWaiting(*next);
    next->slotGranted(slotFor(*next));
  }
}

bool ConnectionBudget::yields(ConnectionParty& party) {
  const ConnectionParty* const other = poorest(&party);
  if (!other || (other->slots_ > 0 && other->slots_ + 1 >= party.slots_)) return false;
  stopWaiting(party);
  return true;
}

ConnectionSlot ConnectionBudget::slotFor(ConnectionParty& party) {
  ++taken_;
  ++party.slots_;
  return {*this, party};
}

/// Those that want nothing any more leave.
ConnectionParty* ConnectionBudget::poorest(const ConnectionParty* except) {
  ConnectionParty* found = nullptr;
  for (ConnectionParty* party = waiting_.first(); party;) {
    ConnectionParty* const next = waiting_.next(*party);
    if (!party->wantsSlot()) {
      stopWaiting(*party);
    } else if (party != except && (!found || party->slots_ < found->slots_)) {
      found = party;
    }
    party = next;
  }
  return found;
}

void ConnectionBudget::giveBack(ConnectionParty& holder) {
  --taken_;
  --holder.slots_;
  if (!waiting_.isEmpty()) owner_.slotsChanged();
}

}  // namespace platform::networking
