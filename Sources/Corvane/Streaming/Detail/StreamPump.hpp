#pragma once

#include <memory>
#include <optional>

#include "Corvane/Streaming/Detail/StreamSource.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace corvane::detail {

/// Calls a handler with the pieces of a body, one at a time, on its queue.
class CORVANE_API StreamPump final : public StreamConsumer, public std::enable_shared_from_this<StreamPump> {
 public:
  using Handler = platform::UniqueFunction<void(platform::Data)>;

  /// Absent: the main queue.
  StreamPump(std::optional<platform::DispatchQueue> queue, Handler handler);
  ~StreamPump() override;

  void begin(std::shared_ptr<const platform::URLResponse> response, std::shared_ptr<StreamSource> source) override;

 private:
  void run();
  /// Whether to go on at once.
  bool step();
  void conclude(std::optional<platform::Error> error);

  const platform::DispatchQueue queue_;
  Handler handler_;
  std::shared_ptr<StreamSource> source_;
};

}  // namespace corvane::detail
