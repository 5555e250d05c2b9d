#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

#include "Platform/Networking/Connecting/HostAddress.hpp"
#include "Platform/Networking/Failure.hpp"
#include "Platform/Networking/Loop/EventLoop.hpp"
#include "Platform/Networking/Loop/NetworkClock.hpp"

namespace platform::networking {

class LookUpThreads;
class Resolver;

/// What is known of a name: its addresses, or why there are none.
using Resolution = std::variant<HostAddresses, Failure>;

/// Somebody who waits for a name. Stays where it is in memory while it waits; its destruction ends the wait. Loop side
/// only.
class LookUp {
 public:
  LookUp() = default;
  LookUp(const LookUp&) = delete;
  LookUp& operator=(const LookUp&) = delete;
  bool isWaiting() const { return resolver_ != nullptr; }

 protected:
  virtual ~LookUp();

 private:
  friend class Resolver;
  /// Told once, and no longer waiting then. May destroy itself.
  virtual void nameResolved(const Resolution& resolution) = 0;

  Resolver* resolver_ = nullptr;
  std::uint64_t question_ = 0;
};

/// Finds the addresses of hosts, with the system's `getaddrinfo` on threads of its own: several names at a time, the
/// same name once for all who ask at the same time. Addresses are kept for a minute. Loop side only.
///
/// Numbers and the names of this machine ("localhost" and names below it; RFC 6761, 6.3) need no thread. A look-up that
/// nobody waits for any more goes on in its thread, which `getaddrinfo` gives no way to end, and holds up no other.
class Resolver {
 public:
  /// How long addresses are kept.
  static constexpr Duration lifetime = std::chrono::minutes(1);
  /// How many names are kept; the ones that end first make room.
  static constexpr std::size_t mostKept = 256;

  explicit Resolver(EventLoop& loop);
  /// Requires: nobody waits. Threads that still look something up end by themselves.
  ~Resolver();
  Resolver(const Resolver&) = delete;
  Resolver& operator=(const Resolver&) = delete;

  /// The addresses if they are known at once, or the reason why the name cannot be looked up at all; otherwise
  /// `lookUp` is told, from the loop. Requires: it does not wait already.
  std::optional<Resolution> resolve(const std::string& host, LookUp& lookUp);
  /// Ends the wait, without a call.
  void cancel(LookUp& lookUp);
  /// Drops what is kept of all names, as after a change of the network. Those who wait go on waiting for the look-up
  /// that is under way; those who ask from now on get one of their own.
  void forget();
  /// The same of one name.
  void forget(const std::string& host);
  /// How many names are kept.
  std::size_t keptCount() const { return kept_.size(); }

 private:
  friend class LookUpThreads;
  struct Kept {
    HostAddresses addresses;
    TimePoint end;
  };
  struct Question {
    std::string host;
    std::vector<LookUp*> waiting;
    /// Whether its outcome may be kept, and others may join.
    bool isCurrent = true;
  };

  std::optional<Resolution> knownAtOnce(const std::string& host);
  std::uint64_t ask(const std::string& host);
  void keep(const std::string& host, const HostAddresses& addresses);
  void lookedUp(std::uint64_t question, const Resolution& resolution);

  EventLoop& loop_;
  std::shared_ptr<LookUpThreads> threads_;
  std::unordered_map<std::string, Kept> kept_;
  std::unordered_map<std::uint64_t, Question> questions_;
  std::unordered_map<std::string, std::uint64_t> current_;
  std::uint64_t lastQuestion_ = 0;
};

}  // namespace platform::networking
