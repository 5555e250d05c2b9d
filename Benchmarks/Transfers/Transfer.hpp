#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Harness/Process.hpp"

namespace bench {

inline constexpr std::uint64_t transferBytes = 256ULL * 1024 * 1024;

enum class Direction { download, upload };

/// What is moved, and between which places.
struct TransferTask {
  Direction direction = Direction::download;
  std::uint16_t port = 0;
  /// Where downloads go. All clients write to the file system that this is on.
  std::filesystem::path folder;
  /// Of `transferBytes`.
  std::filesystem::path source;

  std::string url() const {
    return "http://127.0.0.1:" + std::to_string(port) + (direction == Direction::download ? "/large" : "/small");
  }
};

/// A way to move a file. It keeps its connections from one transfer to the next, where it can.
class Mover {
 public:
  virtual ~Mover() = default;
  /// Moves the file once; returns where a downloaded one is. Throws when the response is not 200.
  virtual std::filesystem::path move() = 0;
  /// What it has used so far, wherever it works. Before the first transfer the peak is that of the idle client.
  virtual Usage usage() const { return Usage::now(); }
};

struct MoverKind {
  const char* name;
  std::unique_ptr<Mover> (*make)(const TransferTask& task);
};

/// All of them, by unique names.
const std::vector<MoverKind>& moverKinds();

/// An easy handle with default buffers, and `fwrite` and `fread`.
std::unique_ptr<Mover> makeCurlMover(const TransferTask& task);
/// The program `curl`, run for each transfer.
std::unique_ptr<Mover> makeCurlProgramMover(const TransferTask& task);
std::unique_ptr<Mover> makeCorvaneMover(const TransferTask& task);
/// The same, telling a handler of its progress.
std::unique_ptr<Mover> makeObservedCorvaneMover(const TransferTask& task);

}  // namespace bench
