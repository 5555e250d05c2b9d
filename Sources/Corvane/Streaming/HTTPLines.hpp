#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Corvane/Errors/HTTPStreamError.hpp"
#include "Corvane/Streaming/Detail/DerivedSource.hpp"
#include "Corvane/Streaming/HTTPBodyStream.hpp"
#include "Corvane/Streaming/HTTPSequence.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Velisand/JSONCodable.hpp"

namespace corvane {

/// How a stream is cut into lines.
///
///     auto entries = jsonLines<Entry>(request.stream(), {.maximumBytes = 4096});
struct LineOptions {
  /// A longer line ends the stream with `HTTPStreamError::lineTooLong`. In bytes, without its end. Default: 1 MiB.
  std::size_t maximumBytes = std::size_t{1} << 20;
};

namespace detail {

struct NumberedLine {
  std::string text;
  std::uint64_t number = 0;
};

CORVANE_API std::shared_ptr<ItemSource<std::string>> lineSource(HTTPBodyStream stream, LineOptions options);
/// Without those that are empty but for white space.
CORVANE_API std::shared_ptr<ItemSource<NumberedLine>> numberedLineSource(HTTPBodyStream stream, LineOptions options);

template <class Model>
class JSONLineSource final : public DerivedSource<Model, NumberedLine> {
 public:
  using DerivedSource<Model, NumberedLine>::DerivedSource;

 private:
  std::optional<Model> take() override { return std::exchange(model_, std::nullopt); }
  void put(NumberedLine line) override {
    try {
      model_.emplace(velisand::fromJSON<Model>(platform::Data(line.text)));
    } catch (...) {
      throw HTTPStreamError::malformedLine(line.number, platform::Error::current());
    }
  }
  void finish() override {}

  std::optional<Model> model_;
};

}  // namespace detail

/// The lines of a body, without their ends: LF, or CR and LF. The last line needs none. The bytes of a line are not
/// checked for their encoding.
///
///     auto lines = corvane::lines(request.stream());
///     while (const auto line = co_await lines.next()) std::puts(line->c_str());
CORVANE_API HTTPSequence<std::string> lines(HTTPBodyStream stream, LineOptions options = {});

/// The lines of a body, each decoded as a JSON document ("NDJSON", "JSON Lines"), by the decoder that the model names,
/// or one with default settings. Lines of white space are skipped. A line that cannot be decoded ends the stream with
/// `HTTPStreamError::malformedLine`, which has its number.
///
///     auto users = jsonLines<User>(request.stream());
///     while (const auto user = co_await users.next()) greet(*user);
template <velisand::JSONDecodable Model>
HTTPSequence<Model> jsonLines(HTTPBodyStream stream, LineOptions options = {}) {
  return HTTPSequence<Model>(
      std::make_shared<detail::JSONLineSource<Model>>(detail::numberedLineSource(std::move(stream), options)));
}

}  // namespace corvane
