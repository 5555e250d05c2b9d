#include "Platform/Networking/Loop/OwnershipStates.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include "OwnershipWorld.hpp"

/// Walks through all interleavings of three threads, with the network and the timer as a fourth and a fifth.
namespace platform::networking {
namespace {

using Action = OwnershipStates::Action;
using Event = OwnershipStates::Event;
using State = OwnershipStates::State;
using Roles = std::array<Role, World::actorCount>;

static_assert(std::has_unique_object_representations_v<World>, "worlds are told apart by their bytes");

struct WorldHash {
  std::size_t operator()(const World& world) const {
    return std::hash<std::string_view>()({reinterpret_cast<const char*>(&world), sizeof world});
  }
};

World worldOf(const Roles& roles) {
  World world;
  for (std::size_t index = 0; index < roles.size(); ++index) {
    world.actors[index] = {.role = roles[index],
                           .place = roles[index] == Role::network ? Place::parking : Place::sending};
  }
  return world;
}

/// Whether the actor owns the loop.
bool owns(const Actor& actor) {
  switch (actor.place) {
    case Place::looking:
    case Place::resting:
    case Place::asleep:
    case Place::waking:
    case Place::handling:
    case Place::offering:
    case Place::releasing:
      return true;
    case Place::completing:
      return actor.role == Role::network;
    default:
      return false;
  }
}

/// Whether nothing is left that the actor ought to do.
bool isAtRest(const Actor& actor) {
  switch (actor.role) {
    case Role::network:
      return actor.place == Place::parked;
    case Role::worker:
      return actor.place == Place::sleeping && actor.restsAgain;
    case Role::stopper:
      return actor.place == Place::finished;
    default:
      return actor.place == Place::finished && actor.isDone;
  }
}

/// What is wrong with a world, whatever led to it.
std::string_view faultOf(const World& world) {
  for (const Actor& actor : world.actors) {
    if (actor.todo == Action::impossible) return "a thread does what it may not do";
  }
  const auto owners = std::count_if(world.actors.begin(), world.actors.end(), owns);
  if (owners > 1) return "two threads drive";
  if ((owners == 1) != world.states.isOwned()) return "the states say otherwise than the threads";
  return {};
}

/// What is wrong with a world in which nothing more happens unless a server responds.
std::string_view faultInSilence(const World& world) {
  if (world.states.isStopped()) return world.states.isOwned() ? "the loop does not stop" : "";
  if (world.inbox != 0) return "a command is left that nobody comes for";
  for (const Actor& actor : world.actors) {
    if (actor.isDone && !isAtRest(actor)) return "a thread waits though its exchange is complete";
  }
  return {};
}

/// What is wrong with a world in which nothing more happens at all.
std::string_view faultAtRest(const World& world) {
  for (const Actor& actor : world.actors) {
    if (actor.role == Role::stopper && !isAtRest(actor)) return "the loop does not stop";
  }
  if (world.states.isStopped()) return {};
  if (world.hasWork()) return "a response is left that nobody comes for";
  for (const Actor& actor : world.actors) {
    if (!isAtRest(actor)) return "a thread waits for ever";
  }
  return {};
}

struct Walk {
  std::size_t worlds = 0;
  std::string_view fault;
};

/// Visits every world that can come of these roles, or stops at the first fault.
class Walker {
 public:
  explicit Walker(const OwnershipStates::Table& table) : table_(table) {}

  Walk walk(const Roles& roles) {
    visit(worldOf(roles));
    for (std::uint32_t index = 0; index < worlds_.size(); ++index) {
      if (const auto fault = lookAt(index); !fault.empty()) return {worlds_.size(), fault};
    }
    return {worlds_.size(), everyWorldComesToRest() ? std::string_view() : "threads keep each other busy for ever"};
  }

 private:
  std::string_view lookAt(std::uint32_t index) {
    const World world = worlds_[index];
    if (const auto fault = faultOf(world); !fault.empty()) return fault;
    bool isSilent = true;
    bool isAtRest = true;
    steps_.clear();
    addStepsFrom(world, table_, steps_);
    for (const Step& step : steps_) {
      const std::uint32_t next = visit(step.next);
      // Patience is there for idle connections; nothing else may depend on it.
      if (step.cause == Cause::patience) continue;
      isAtRest = false;
      if (step.cause == Cause::thread) isSilent = false;
      edges_.emplace_back(index, next);
    }
    std::string_view fault;
    if (isSilent) fault = faultInSilence(world);
    if (isAtRest && fault.empty()) fault = faultAtRest(world);
    if (isAtRest) comesToRest_[index] = true;
    return fault;
  }

  std::uint32_t visit(const World& world) {
    const auto [place, isNew] = indices_.try_emplace(world, static_cast<std::uint32_t>(worlds_.size()));
    if (isNew) {
      worlds_.push_back(world);
      comesToRest_.push_back(false);
    }
    return place->second;
  }

  bool everyWorldComesToRest() {
    // Backwards, since most steps lead to worlds that were found later.
    for (bool isNew = true; isNew;) {
      isNew = false;
      for (auto step = edges_.rbegin(); step != edges_.rend(); ++step) {
        if (!comesToRest_[step->second] || comesToRest_[step->first]) continue;
        comesToRest_[step->first] = true;
        isNew = true;
      }
    }
    return std::find(comesToRest_.begin(), comesToRest_.end(), false) == comesToRest_.end();
  }

  const OwnershipStates::Table& table_;
  std::unordered_map<World, std::uint32_t, WorldHash> indices_;
  std::vector<World> worlds_;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> edges_;  ///< from one world to the next
  std::vector<bool> comesToRest_;
  std::vector<Step> steps_;
};

/// Beside the network thread, from the few worlds to the many: three more threads that drive would make ten million.
constexpr std::array<Roles, 15> casts = [] {
  using enum Role;
  return std::array<Roles, 15>{{{stopper, stopper, network},
                                {sender, stopper, network},
                                {absentee, stopper, network},
                                {sender, sender, network},
                                {sender, absentee, network},
                                {absentee, absentee, network},
                                {caller, stopper, network},
                                {worker, stopper, network},
                                {caller, absentee, network},
                                {caller, sender, network},
                                {worker, absentee, network},
                                {thrower, sender, network},
                                {caller, caller, network},
                                {caller, worker, network},
                                {caller, thrower, network}}};
}();

std::string nameOf(const Roles& roles) {
  constexpr std::array names{"network", "caller", "thrower", "worker", "sender", "absentee", "stopper"};
  std::string name;
  for (const Role role : roles) name.append(names[static_cast<std::size_t>(role)]).append(" ");
  return name;
}

/// The first fault that a table has with any of the roles.
std::string_view faultOf(const OwnershipStates::Table& table) {
  for (const Roles& roles : casts) {
    if (const Walk walk = Walker(table).walk(roles); !walk.fault.empty()) return walk.fault;
  }
  return {};
}

TEST(OwnershipStatesTest, leadEveryInterleavingOfThreadsToRest) {
  std::size_t worlds = 0;
  for (const Roles& roles : casts) {
    const Walk walk = Walker(OwnershipStates::table).walk(roles);
    EXPECT_EQ(walk.fault, "") << nameOf(roles);
    worlds += walk.worlds;
  }
  RecordProperty("worlds", static_cast<int>(worlds));
  EXPECT_GT(worlds, 100'000u);
}

/// Moves without which threads are woken more often than they need to be, and nothing else.
bool savesWakeUpsOnly(State state, Event event) {
  const bool callsAgain = state == State::idle || state == State::awaited || state == State::overdue;
  const bool wakesAgain = state == State::asleep && event != Event::stop && event != Event::wake;
  const bool looksAgain = state == State::alerted && event == Event::sleep;
  return wakesAgain || looksAgain || (callsAgain && event == Event::command) ||
         (state == State::overdue && event == Event::graceOver);
}

/// The tables that differ from the real one in an action that is left out, or in a move to another state.
std::vector<OwnershipStates::Table> wrongTables() {
  std::vector<OwnershipStates::Table> tables;
  for (std::size_t state = 0; state < OwnershipStates::stateCount; ++state) {
    for (std::size_t event = 0; event < OwnershipStates::eventCount; ++event) {
      const auto& [next, action] = OwnershipStates::table[state][event];
      if (action == Action::impossible) continue;
      if (action != Action::none) {
        tables.push_back(OwnershipStates::table);
        tables.back()[state][event].action = Action::none;
      }
      const auto from = static_cast<State>(state);
      if (next != from && !savesWakeUpsOnly(from, static_cast<Event>(event))) {
        tables.push_back(OwnershipStates::table);
        tables.back()[state][event].next = from;
      }
    }
  }
  return tables;
}

std::string nameOf(const OwnershipStates::Table& table) {
  for (std::size_t state = 0; state < OwnershipStates::stateCount; ++state) {
    for (std::size_t event = 0; event < OwnershipStates::eventCount; ++event) {
      const auto& [next, action] = table[state][event];
      if (next != OwnershipStates::table[state][event].next || action != OwnershipStates::table[state][event].action) {
        return "state " + std::to_string(state) + ", event " + std::to_string(event) + ": to state " +
               std::to_string(static_cast<int>(next)) + " with action " + std::to_string(static_cast<int>(action));
      }
    }
  }
  return "as it is";
}

/// So the walk would find a mistake.
TEST(OwnershipStatesTest, needEachOfTheirActionsAndMoves) {
  for (const auto& table : wrongTables()) EXPECT_NE(faultOf(table), "") << nameOf(table);
}

}  // namespace
}  // namespace platform::networking
