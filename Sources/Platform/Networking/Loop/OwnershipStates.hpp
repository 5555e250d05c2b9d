#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace platform::networking {

/// Who drives the event loop, as a state machine without side effects. `LoopOwnership` guards it with its mutex, and
/// carries out the actions when it has released the mutex.
///
/// One thread at a time drives the loop: the network thread, or a leader, a thread that would sleep otherwise. Work may
/// be left to a leader that is expected back. When none comes before the grace timer has fired twice, the network
/// thread takes over.
class OwnershipStates {
 public:
  enum class State : std::uint8_t {
    idle,     ///< nobody drives, nothing is under way; the network thread watches idle connections and timers
    awaited,  ///< nobody drives, though there is work; a leader is expected, and the timer runs
    overdue,  ///< the same, after the timer has fired once
    called,   ///< nobody drives, though there is work; the network thread was called
    driven,   ///< a thread drives
    alerted,  ///< a thread drives, and must look at its own wait before it sleeps
    asleep,   ///< a thread drives and waits for events, or is about to
    ending,   ///< a thread drives, and must leave
    ended     ///< nobody drives, now or ever
  };

  enum class Event : std::uint8_t {
    command,         ///< a command was posted by a thread that is not expected to drive
    leadersCommand,  ///< a command was posted by a thread that is expected to drive soon
    interrupt,       ///< the driver is to look at its own wait
    graceOver,       ///< the network thread has seen the timer fire
    stop,            ///< the process ends

    acquire,          ///< a thread wants to drive
    sleep,            ///< the driver has nothing to do
    wake,             ///< the driver's sleep is over
    releaseIdle,      ///< the driver leaves, and there is no work
    releaseToLeader,  ///< the driver leaves the work to a leader
    releaseToThread   ///< the driver leaves the work to the network thread
  };

  enum class Action : std::uint8_t {
    none,
    refuse,     ///< the thread may not do what it asked for
    wake,       ///< the driver, from its sleep
    call,       ///< the network thread, from its parking
    takeOver,   ///< the network thread, which asked, is to drive
    setTimer,   ///< to fire once, in a millisecond
    stopTimer,  ///< which would wake the network thread for nothing
    tell,       ///< the thread that stops the loop: it has stopped
    impossible  ///< nobody may ask for this
  };

  struct Transition {
    State next;
    Action action;
  };

  static constexpr std::size_t stateCount = 9;
  static constexpr std::size_t eventCount = 11;

  using Row = std::array<Transition, eventCount>;
  using Table = std::array<Row, stateCount>;
  /// The transitions, by state and event.
  static const Table table;

  /// Moves to the next state; what the caller has to do then. Tests give other tables.
  constexpr Action on(Event event, const Table& transitions = table) {
    if (event == Event::graceOver) timerRuns_ = false;
    const auto [next, action] = transitions[static_cast<std::size_t>(state_)][static_cast<std::size_t>(event)];
    state_ = next;
    // Setting a timer costs as much as the rest of a hand-over: one that runs already will do.
    if (action == Action::setTimer && timerRuns_) return Action::none;
    if (action == Action::setTimer) timerRuns_ = true;
    return action;
  }

  /// For the driver, which needs no timer until it leaves. One that fires nevertheless does no harm: it shortens the
  /// time that the next leader has.
  constexpr Action stopTimer() {
    if (!timerRuns_) return Action::none;
    timerRuns_ = false;
    return Action::stopTimer;
  }

  constexpr State state() const { return state_; }
  /// Whether a thread drives.
  constexpr bool isOwned() const { return state_ >= State::driven && state_ <= State::ending; }
  constexpr bool isStopped() const { return state_ >= State::ending; }
  /// Whether the timer was set, and neither fired nor was stopped.
  constexpr bool timerRuns() const { return timerRuns_; }
  bool operator==(const OwnershipStates&) const = default;

 private:
  State state_ = State::idle;
  bool timerRuns_ = false;
};

// clang-format off
inline constexpr OwnershipStates::Table OwnershipStates::table = [] {
  using enum State;
  using enum Action;
  constexpr Transition wrong{ended, impossible};
  return Table{{
    //             command         leadersCommand       interrupt        graceOver            stop
    //             acquire            sleep             wake             releaseIdle    releaseToLeader      releaseToThread
    /* idle    */ {{{called, call}, {awaited, setTimer}, {idle, none},    {idle, none},        {ended, none},
                    {driven, none},    wrong,            wrong,           wrong,         wrong,               wrong}},
    /* awaited */ {{{called, call}, {awaited, none},     {awaited, none}, {overdue, setTimer}, {ended, none},
                    {driven, none},    wrong,            wrong,           wrong,         wrong,               wrong}},
    /* overdue */ {{{called, call}, {overdue, none},     {overdue, none}, {called, takeOver},  {ended, none},
                    {driven, none},    wrong,            wrong,           wrong,         wrong,               wrong}},
    /* called  */ {{{called, none}, {called, none},      {called, none},  {called, none},      {ended, none},
                    {driven, none},    wrong,            wrong,           wrong,         wrong,               wrong}},
    /* driven  */ {{{driven, none}, {driven, none},      {alerted, none}, {driven, none},      {ending, none},
                    {driven, refuse},  {asleep, none},   {driven, none},  {idle, none},  {awaited, setTimer}, {called, call}}},
    /* alerted */ {{{alerted, none}, {alerted, none},    {alerted, none}, {alerted, none},     {ending, none},
                    {alerted, refuse}, {driven, refuse}, {alerted, none}, {idle, none},  {awaited, setTimer}, {called, call}}},
    /* asleep  */ {{{driven, wake}, {driven, wake},      {driven, wake},  {asleep, none},      {ending, wake},
                    {asleep, refuse},  wrong,            {driven, none},  wrong,         wrong,               wrong}},
    /* ending  */ {{{ending, none}, {ending, none},      {ending, none},  {ending, none},      {ending, none},
                    {ending, refuse},  {ending, refuse}, {ending, none},  {ended, tell}, {ended, tell},       {ended, tell}}},
    /* ended   */ {{{ended, none},  {ended, none},       {ended, none},   {ended, none},       {ended, none},
                    {ended, refuse},   wrong,            wrong,           wrong,         wrong,               wrong}},
  }};
}();
// clang-format on

}  // namespace platform::networking
