#pragma once

#include <memory>

#include "Corvane/Responses/ResponseRecord.hpp"
#include "Corvane/Streaming/Detail/ItemSource.hpp"
#include "Corvane/Streaming/Detail/StreamSource.hpp"
#include "Corvane/Streaming/HTTPStreamResponse.hpp"
#include "Corvane/Transport/SendCompletion.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Velisand/Future.hpp"

namespace corvane::detail {

/// A streamed response whose pieces are asked for.
class CORVANE_API StreamCore : public StreamConsumer, public ItemSource<platform::Data> {
 public:
  static std::shared_ptr<StreamCore> make();

  /// What the exchange is sent with: its stop is that of this, and its end is told here.
  virtual SendCompletion<HTTPStreamResponse> completion(const SendOptions& options) = 0;
  virtual const velisand::Future<ResponseRecord>& head() const = 0;
};

}  // namespace corvane::detail
