#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "Platform/Networking/Loop/OwnershipStates.hpp"

namespace platform::networking {

/// What a thread does with the loop.
enum class Role : std::uint8_t {
  network,   ///< the network thread
  caller,    ///< sends a request, waits for it and drives meanwhile, as `get()` does
  thrower,   ///< the same, and an iteration may end by an exception
  worker,    ///< the same, and rests again when its request is done
  sender,    ///< sends a request, and does something else for ever
  absentee,  ///< the same, though it is expected to drive
  stopper    ///< ends the process
};

/// Where a thread is: what it does next, each in one step that no other thread can see in part.
enum class Place : std::uint8_t {
  sending,      ///< posts its request
  waiting,      ///< begins to wait: from here on its signal interrupts the loop
  acquiring,    ///< wants to drive
  looking,      ///< drives, and looks whether it has to
  resting,      ///< drives, and is about to sleep
  asleep,       ///< drives, in `epoll_wait`
  waking,       ///< drives, and is just awake
  handling,     ///< drives: events, then commands
  offering,     ///< drives no more after the next step, and completes what is done in between
  completing,   ///< completes exchanges; the network thread drives meanwhile
  handingOver,  ///< the network thread completes exchanges, and drives no more
  releasing,    ///< drives no more after the next step
  leaving,      ///< ends its wait: from here on its signal wakes it from its own sleep
  sleeping,     ///< sleeps until its exchange is complete
  parking,      ///< the network thread looks what it is to watch
  parked,       ///< the network thread, in `poll`
  graceSeen,    ///< the network thread saw that the timer fired
  stopping,     ///< the stopper looks whether it has to wait
  awaitingEnd,  ///< the stopper sleeps until it is told
  finished
};

/// A thread in the midst of things.
struct Actor {
  Role role = Role::sender;
  Place place = Place::sending;
  /// What the states asked it to do, in its next step.
  OwnershipStates::Action todo = OwnershipStates::Action::none;
  /// It has signalled a thread that drives, and interrupts the loop in its next step.
  bool interrupts = false;
  bool isDriving = false;   ///< as its own `CooperativeWait` says
  bool isDone = false;      ///< its exchange is complete
  bool gaveUp = false;      ///< by an exception
  bool restsAgain = false;  ///< a worker whose exchange is complete, and who waits for nothing in particular
  bool watchesEvents = false;
  bool looksLater = false;     ///< parked, it looks again after a second
  bool isNeeded = false;       ///< whatever the timer says
  std::uint8_t delivered = 0;  ///< exchanges that it is to complete

  bool operator==(const Actor&) const = default;
};

/// All that can be said of the threads, the states, and what the system keeps for them. Exchanges are bits, one for
/// each actor.
struct World {
  static constexpr std::size_t actorCount = 3;

  std::array<Actor, actorCount> actors;
  OwnershipStates states;
  std::uint8_t inbox = 0;     ///< posted, and not taken
  std::uint8_t underWay = 0;  ///< the server has yet to respond
  std::uint8_t arrived = 0;   ///< the response can be read
  bool isRung = false;        ///< the eventfd that wakes the driver
  bool isCalled = false;      ///< the eventfd that wakes the network thread
  bool timerTicks = false;
  bool timerFired = false;
  bool stopperIsTold = false;

  bool operator==(const World&) const = default;
  bool hasWork() const { return (inbox | underWay) != 0 || arrived != 0; }
};

/// What brings a step about.
enum class Cause : std::uint8_t {
  thread,   ///< one of the threads, or the timer
  network,  ///< a server, which may never respond
  patience  ///< the parked network thread, which looks once a second though nothing calls it
};

struct Step {
  World next;
  Cause cause;
};

/// Adds what may happen next, one step of one thread at a time.
void addStepsFrom(const World& world, const OwnershipStates::Table& table, std::vector<Step>& steps);

}  // namespace platform::networking
