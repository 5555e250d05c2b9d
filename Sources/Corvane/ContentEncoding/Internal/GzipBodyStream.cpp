#include "Corvane/ContentEncoding/Internal/GzipBodyStream.hpp"

#include <utility>

#include "Corvane/ContentEncoding/Internal/Zlib.hpp"

namespace corvane::detail {

using platform::Data;

class GzipBodyStream::GzipPass final : public Pass {
 public:
  explicit GzipPass(std::shared_ptr<Pass> original) : original_(std::move(original)) {
    constexpr int windowBitsWithGzipHeader = 31;
    constexpr int memoryLevel = 9;
    const int result = deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, windowBitsWithGzipHeader, memoryLevel,
                                    Z_DEFAULT_STRATEGY);
    if (result != Z_OK) throw gzipError(result, stream_);
  }
  ~GzipPass() override { deflateEnd(&stream_); }

  std::optional<Data> next() override {
    if (isFinished_) return std::nullopt;
    Data output;
    output.resize(pieceBytes);
    stream_.next_out = reinterpret_cast<Bytef*>(output.mutableBytes());
    stream_.avail_out = zlibLength(output.count());
    while (stream_.avail_out > 0 && !isFinished_) step();
    output.resize(output.count() - stream_.avail_out);
    return output;
  }

  void interrupt() noexcept override { original_->interrupt(); }

 private:
  /// Compresses what there is of the input, as far as there is room.
  void step() {
    if (stream_.avail_in == 0 && !isAtEnd_) takeInput();
    // The one failure left is an output that is full, or input that is used up.
    isFinished_ = deflate(&stream_, isAtEnd_ ? Z_FINISH : Z_NO_FLUSH) == Z_STREAM_END;
  }

  void takeInput() {
    std::optional<Data> bytes = original_->next();
    isAtEnd_ = !bytes;
    input_ = bytes ? std::move(*bytes) : Data();
    stream_.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(input_.bytes()));
    stream_.avail_in = zlibLength(input_.count());
  }

  const std::shared_ptr<Pass> original_;
  z_stream stream_{};
  Data input_;
  bool isAtEnd_ = false;
  bool isFinished_ = false;
};

std::shared_ptr<platform::URLBodyStream::Pass> GzipBodyStream::makePass() {
  return std::make_shared<GzipPass>(original_->open());
}

}  // namespace corvane::detail
