#pragma once

namespace platform::detail {

/// Hears when the machine's links, addresses or routes change (Linux: rtnetlink(7)). For one thread.
class NetworkMonitor {
 public:
  NetworkMonitor();
  ~NetworkMonitor();
  NetworkMonitor(const NetworkMonitor&) = delete;
  NetworkMonitor& operator=(const NetworkMonitor&) = delete;

  /// Readable when something changed; -1 where the system does not tell.
  int descriptor() const { return descriptor_; }
  /// Reads what was reported; whether there was anything.
  bool drain();

 private:
  int descriptor_;
};

/// Whether any interface other than loopback is up and has an address that reaches beyond its link. Reads
/// the system's list of addresses: a few microseconds.
bool machineHasNetwork();

}  // namespace platform::detail
