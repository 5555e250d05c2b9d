#include "OwnershipWorld.hpp"

#include <optional>

namespace platform::networking {

namespace {

using Action = OwnershipStates::Action;
using Event = OwnershipStates::Event;
using State = OwnershipStates::State;

/// The next steps of one actor.
class Steps {
 public:
  Steps(const World& world, std::size_t index, const OwnershipStates::Table& table, std::vector<Step>& out)
      : world_(world), index_(index), table_(table), out_(out) {}

  void add() {
    const Actor& self = world_.actors[index_];
    if (self.todo != Action::none) return add([](World& world, Actor& actor) { carryOut(world, actor); });
    if (self.interrupts) {
      return add([this](World& world, Actor& actor) {
        actor.interrupts = false;
        actor.todo = tell(world, Event::interrupt);
      });
    }
    addFrom(self);
  }

 private:
  template <class Change>
  void add(Change change, Cause cause = Cause::thread) {
    out_.push_back({world_, cause});
    World& next = out_.back().next;
    change(next, next.actors[index_]);
  }

  void go(Place place) {
    add([=](World&, Actor& actor) { actor.place = place; });
  }

  Action tell(World& world, Event event) const { return world.states.on(event, table_); }

  std::uint8_t bit() const { return static_cast<std::uint8_t>(1U << index_); }

  static void carryOut(World& world, Actor& actor) {
    if (actor.todo == Action::wake) world.isRung = true;
    if (actor.todo == Action::call) world.isCalled = true;
    if (actor.todo == Action::setTimer) world.timerTicks = true;
    if (actor.todo == Action::stopTimer) world.timerTicks = world.timerFired = false;
    if (actor.todo == Action::tell) world.stopperIsTold = true;
    actor.todo = Action::none;
  }

  /// The wait is over. A worker waits again, for nothing in particular.
  static void finish(Actor& actor) {
    actor.place = actor.role == Role::worker ? Place::waiting : Place::finished;
    if (actor.role == Role::worker) {
      actor.restsAgain = true;
      actor.isDone = false;
    }
  }

  void addFrom(const Actor& self) {
    switch (self.place) {
      case Place::sending:
        return addSending(self.role);
      case Place::waiting:
        return add([](World&, Actor& actor) {
          actor.isDriving = !actor.isDone;
          actor.place = Place::acquiring;
          if (actor.isDone) finish(actor);
        });
      case Place::acquiring:
        return addAcquiring();
      case Place::looking:
        return go(hasReasonToDrive(self) ? Place::resting : Place::releasing);
      case Place::resting:
        return addResting();
      case Place::asleep:
        if (!world_.isRung && world_.arrived == 0) return;
        return add([](World& world, Actor& actor) {
          world.isRung = false;
          actor.place = Place::waking;
        });
      case Place::waking:
        return add([this](World& world, Actor& actor) {
          actor.todo = tell(world, Event::wake);
          actor.place = Place::handling;
        });
      case Place::handling:
        return addHandling(self.role);
      case Place::offering:
        return addRelease(self, self.role == Role::network ? Place::handingOver : Place::completing);
      case Place::completing:
      case Place::handingOver:
        return addCompleting(self);
      case Place::releasing:
        return addRelease(self, self.role == Role::network ? Place::parking : Place::leaving);
      case Place::leaving:
        return add([](World&, Actor& actor) {
          actor.isDriving = false;
          actor.place = Place::sleeping;
          if (actor.isDone) finish(actor);
        });
      case Place::sleeping:
        if (self.isDone) add([](World&, Actor& actor) { finish(actor); });
        return;
      case Place::parking:
        return addParking();
      case Place::parked:
        return addParked(self);
      case Place::graceSeen:
        return add([this](World& world, Actor& actor) {
          const Action action = tell(world, Event::graceOver);
          const bool isNeeded = actor.isNeeded || action == Action::takeOver;
          actor.isNeeded = false;
          actor.place = Place::parked;
          if (isNeeded) unpark(actor);
          if (action != Action::takeOver) actor.todo = action;
        });
      case Place::stopping:
        return go(world_.states.isOwned() ? Place::awaitingEnd : Place::finished);
      case Place::awaitingEnd:
        if (world_.stopperIsTold) go(Place::finished);
        return;
      case Place::finished:
        return;
    }
  }

  void addSending(Role role) {
    if (role == Role::stopper) {
      return add([this](World& world, Actor& actor) {
        actor.todo = tell(world, Event::stop);
        actor.place = Place::stopping;
      });
    }
    const bool waits = role == Role::caller || role == Role::thrower || role == Role::worker;
    const auto post = [this, waits](Event event) {
      add([=, this](World& world, Actor& actor) {
        world.inbox |= bit();
        actor.todo = tell(world, event);
        actor.place = waits ? Place::waiting : Place::finished;
      });
    };
    if (role != Role::absentee) post(Event::command);
    if (role != Role::sender) post(Event::leadersCommand);
  }

  void addAcquiring() {
    add([this](World& world, Actor& actor) {
      const bool isRefused = tell(world, Event::acquire) == Action::refuse;
      const bool isNetwork = actor.role == Role::network;
      if (isRefused) {
        actor.place = isNetwork ? Place::parking : Place::leaving;
      } else {
        // The network thread handles what there is at least once.
        actor.place = isNetwork && !world.hasWork() ? Place::handling : isNetwork ? Place::resting : Place::looking;
      }
    });
  }

  bool hasReasonToDrive(const Actor& self) const {
    return !self.isDone && !world_.states.isStopped() && world_.hasWork();
  }

  /// A timer is stopped, or left alone.
  void addResting() {
    for (const bool stopsTimer : {false, true}) {
      if (stopsTimer && !world_.states.timerRuns()) continue;
      add([=, this](World& world, Actor& actor) {
        const bool sleeps = world.inbox == 0 && tell(world, Event::sleep) != Action::refuse;
        if (sleeps && stopsTimer) actor.todo = world.states.stopTimer();
        actor.place = sleeps ? Place::asleep : Place::handling;
      });
    }
  }

  void addHandling(Role role) {
    const auto handle = [](World& world, Actor& actor) {
      world.isRung = false;
      actor.delivered = world.arrived;
      world.underWay = static_cast<std::uint8_t>(world.underWay | world.inbox);
      world.arrived = 0;
      world.inbox = 0;
    };
    if (role == Role::thrower) {
      add([&](World& world, Actor& actor) {
        // What was read is not lost, but its completion is left to the next driver.
        actor.gaveUp = true;
        actor.isDriving = false;
        actor.place = Place::releasing;
        world.underWay = static_cast<std::uint8_t>(world.underWay | world.inbox);
        world.inbox = 0;
      });
    }
    add([&](World& world, Actor& actor) {
      handle(world, actor);
      if (actor.delivered == 0) {
        actor.place = Place::looking;
      } else {
        // A leader runs them itself, and lets others drive meanwhile.
        actor.place = Place::offering;
      }
    });
    if (role != Role::network || world_.arrived == 0) return;
    // The network thread hands them to workers, and may go on.
    add([&](World& world, Actor& actor) {
      handle(world, actor);
      actor.place = Place::completing;
    });
  }

  /// Work is left to a leader while leaders are in time, and never after an exception.
  void addRelease(const Actor& self, Place then) {
    const auto release = [=, this](Event event) {
      add([=, this](World& world, Actor& actor) {
        actor.todo = tell(world, event);
        actor.place = actor.gaveUp ? Place::finished : then;
      });
    };
    if (!world_.hasWork()) return release(Event::releaseIdle);
    if (!self.gaveUp) release(Event::releaseToLeader);
    release(Event::releaseToThread);
  }

  void addCompleting(const Actor& self) {
    if (self.delivered == 0) {
      if (self.place == Place::handingOver) return go(Place::parking);
      return go(self.role == Role::network ? Place::looking : Place::acquiring);
    }
    for (std::size_t other = 0; other < World::actorCount; ++other) {
      const auto exchange = static_cast<std::uint8_t>(1U << other);
      if ((self.delivered & exchange) == 0) continue;
      add([=](World& world, Actor& actor) {
        actor.delivered = static_cast<std::uint8_t>(actor.delivered & ~exchange);
        world.actors[other].isDone = true;
        actor.interrupts = world.actors[other].isDriving;
      });
    }
  }

  void addParking() {
    add([](World& world, Actor& actor) {
      actor.watchesEvents = world.states.state() == State::idle;
      actor.looksLater = !actor.watchesEvents && world.states.state() != State::ended;
      actor.place = Place::parked;
    });
  }

  /// What it watched is forgotten: worlds that differ in nothing else are one.
  static void unpark(Actor& actor) {
    actor.place = Place::acquiring;
    actor.watchesEvents = false;
    actor.looksLater = false;
  }

  void addParked(const Actor& self) {
    const bool seesEvents = self.watchesEvents && (world_.arrived != 0 || world_.isRung);
    if (world_.isCalled || world_.timerFired || seesEvents) {
      add([=](World& world, Actor& actor) {
        if (world.timerFired) {
          actor.place = Place::graceSeen;
          actor.isNeeded = world.isCalled || seesEvents;
        } else {
          unpark(actor);
        }
        world.isCalled = false;
        world.timerFired = false;
      });
    }
    if (self.looksLater) add([](World&, Actor& actor) { unpark(actor); }, Cause::patience);
  }

  const World& world_;
  const std::size_t index_;
  const OwnershipStates::Table& table_;
  std::vector<Step>& out_;
};

void addOthers(const World& world, std::vector<Step>& out) {
  for (std::size_t index = 0; index < World::actorCount; ++index) {
    const auto exchange = static_cast<std::uint8_t>(1U << index);
    if ((world.underWay & exchange) == 0) continue;
    World next = world;
    next.underWay = static_cast<std::uint8_t>(next.underWay & ~exchange);
    next.arrived = static_cast<std::uint8_t>(next.arrived | exchange);
    out.push_back({next, Cause::network});
  }
  if (!world.timerTicks) return;
  World next = world;
  next.timerTicks = false;
  next.timerFired = true;
  out.push_back({next, Cause::thread});
}

}  // namespace

void addStepsFrom(const World& world, const OwnershipStates::Table& table, std::vector<Step>& steps) {
  for (std::size_t index = 0; index < World::actorCount; ++index) Steps(world, index, table, steps).add();
  addOthers(world, steps);
}

}  // namespace platform::networking
