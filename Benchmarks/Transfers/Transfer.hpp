#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Harness/Process.hpp"

namespace bench {

inline constexpr std::uint64_t transferBytes = 256ULL * 1024 * 1024;

enum class Direction {
  download,
  upload,
  stream  ///< a response that is handed out while it arrives, and summed up
};

/// The name of the direction, and back.
std::string nameOf(Direction direction);
Direction directionOf(const std::string& name);

/// What is moved, and between which places.
struct TransferTask {
  Direction direction = Direction::download;
  std::uint16_t port = 0;
  /// Where downloads go. All clients write to the file system that this is on.
  std::filesystem::path folder;
  /// Of `transferBytes`.
  std::filesystem::path source;

  std::string url() const {
    return "http://127.0.0.1:" + std::to_string(port) + (direction == Direction::upload ? "/small" : "/large");
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
  /// Whether it streams; otherwise it moves files, in both directions.
  bool streams;
  std::unique_ptr<Mover> (*make)(const TransferTask& task);
};

/// All of them, by unique names.
const std::vector<MoverKind>& moverKinds();
/// Those that can do it.
std::vector<MoverKind> moverKinds(Direction direction);
/// What every stream does with the bytes that it is given: it adds them up.
std::uint64_t sumOf(const void* bytes, std::size_t count);

/// An easy handle with default buffers, and `fwrite` and `fread`.
std::unique_ptr<Mover> makeCurlMover(const TransferTask& task);
/// The program `curl`, run for each transfer.
std::unique_ptr<Mover> makeCurlProgramMover(const TransferTask& task);
std::unique_ptr<Mover> makeCorvaneMover(const TransferTask& task);
/// The same, telling a handler of its progress.
std::unique_ptr<Mover> makeObservedCorvaneMover(const TransferTask& task);
/// An easy handle with a write callback.
std::unique_ptr<Mover> makeCurlStreamer(const TransferTask& task);
/// A loop over a socket.
std::unique_ptr<Mover> makeSocketStreamer(const TransferTask& task);
/// A handler on a queue.
std::unique_ptr<Mover> makeCorvaneStreamer(const TransferTask& task);
/// A thread that asks for one piece after the other.
std::unique_ptr<Mover> makeAskingCorvaneStreamer(const TransferTask& task);

}  // namespace bench
