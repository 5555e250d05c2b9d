#include "Corvane/Streaming/HTTPLines.hpp"

#include <utility>

#include "Corvane/Streaming/Detail/LineSplitter.hpp"

namespace corvane {

using platform::Data;

namespace detail {

namespace {

class LineSource final : public DerivedSource<std::string, Data> {
 public:
  LineSource(std::shared_ptr<ItemSource<Data>> from, LineOptions options)
      : DerivedSource(std::move(from)), splitter_(options.maximumBytes) {}

 private:
  std::optional<std::string> take() override { return splitter_.next(); }
  void put(Data piece) override { splitter_.put(std::move(piece)); }
  void finish() override { splitter_.finish(); }

  LineSplitter splitter_;
};

class NumberedLineSource final : public DerivedSource<NumberedLine, Data> {
 public:
  NumberedLineSource(std::shared_ptr<ItemSource<Data>> from, LineOptions options)
      : DerivedSource(std::move(from)), splitter_(options.maximumBytes) {}

 private:
  std::optional<NumberedLine> take() override {
    while (auto line = splitter_.next()) {
      if (line->find_first_not_of(" \t\r") == std::string::npos) continue;
      return NumberedLine{*std::move(line), splitter_.number()};
    }
    return std::nullopt;
  }
  void put(Data piece) override { splitter_.put(std::move(piece)); }
  void finish() override { splitter_.finish(); }

  LineSplitter splitter_;
};

}  // namespace

std::shared_ptr<ItemSource<std::string>> lineSource(HTTPBodyStream stream, LineOptions options) {
  return std::make_shared<LineSource>(std::move(stream).release(), options);
}

std::shared_ptr<ItemSource<NumberedLine>> numberedLineSource(HTTPBodyStream stream, LineOptions options) {
  return std::make_shared<NumberedLineSource>(std::move(stream).release(), options);
}

}  // namespace detail

HTTPSequence<std::string> lines(HTTPBodyStream stream, LineOptions options) {
  return HTTPSequence<std::string>(detail::lineSource(std::move(stream), options));
}

}  // namespace corvane
