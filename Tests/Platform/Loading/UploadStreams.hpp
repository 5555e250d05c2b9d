#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "CorvaneTesting/Latch.hpp"
#include "Platform/Loading/URLBodyStream.hpp"

namespace platform {

/// A body whose pieces a function makes: it is given the number of the pass and of the piece, both from 0.
class MadeBody final : public URLBodyStream {
 public:
  using Make = std::function<std::optional<Data>(int pass, int piece)>;

  explicit MadeBody(Make make, std::optional<std::uint64_t> length = {}, bool isRepeatable = true)
      : make_(std::move(make)), length_(length), isRepeatable_(isRepeatable) {}

  /// These pieces, in each pass.
  static std::shared_ptr<MadeBody> of(std::vector<std::string> pieces, std::optional<std::uint64_t> length = {},
                                      bool isRepeatable = true) {
    return std::make_shared<MadeBody>(
        [pieces = std::move(pieces)](int, int piece) -> std::optional<Data> {
          if (static_cast<std::size_t>(piece) == pieces.size()) return std::nullopt;
          return Data(pieces[static_cast<std::size_t>(piece)]);
        },
        length, isRepeatable);
  }

  std::optional<std::uint64_t> length() const override { return length_; }
  bool isRepeatable() const override { return isRepeatable_; }
  int passes() const { return passes_; }
  /// The passes that exist.
  int alive() const { return *alive_; }
  /// The pieces that were asked for, in all passes.
  int asked() const { return *asked_; }
  int interruptions() const { return *interruptions_; }

 private:
  class MadePass final : public Pass {
   public:
    MadePass(const MadeBody& body, int number)
        : make_(body.make_),
          number_(number),
          alive_(body.alive_),
          asked_(body.asked_),
          interruptions_(body.interruptions_) {
      ++*alive_;
    }
    ~MadePass() override { --*alive_; }
    std::optional<Data> next() override {
      ++*asked_;
      return make_(number_, piece_++);
    }
    void interrupt() noexcept override { ++*interruptions_; }

   private:
    const Make make_;
    const int number_;
    int piece_ = 0;
    const std::shared_ptr<std::atomic<int>> alive_;
    const std::shared_ptr<std::atomic<int>> asked_;
    const std::shared_ptr<std::atomic<int>> interruptions_;
  };

  std::shared_ptr<Pass> makePass() override { return std::make_shared<MadePass>(*this, passes_++); }

  const Make make_;
  const std::optional<std::uint64_t> length_;
  const bool isRepeatable_;
  std::atomic<int> passes_ = 0;
  const std::shared_ptr<std::atomic<int>> alive_ = std::make_shared<std::atomic<int>>(0);
  const std::shared_ptr<std::atomic<int>> asked_ = std::make_shared<std::atomic<int>>(0);
  const std::shared_ptr<std::atomic<int>> interruptions_ = std::make_shared<std::atomic<int>>(0);
};

}  // namespace platform
