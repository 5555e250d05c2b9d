#pragma once

#include <string>

#include "Platform/Foundation/JSON/JSONReader.hpp"

namespace platform {

class JSONReader::Level {
 public:
  Level(JSONReader& reader, Place& place) : reader_(reader), place_(place) { enter(reader, place); }
  ~Level() { leave(reader_, place_); }
  Level(const Level&) = delete;
  Level& operator=(const Level&) = delete;

  /// Passes the character that opens a container.
  static void enter(JSONReader& reader, Place& place) {
    checkDepth(reader, 1);
    ++reader.depth_;
    place.start = reader.cursor_++;
    reader.place_ = &place;
  }
  static void leave(JSONReader& reader, const Place& place) {
    --reader.depth_;
    reader.place_ = place.parent;
    reader.valueStart_ = place.start;
  }
  /// Requires that so many levels more stay within bounds, else throws.
  static void checkDepth(const JSONReader& reader, std::size_t levels) {
    if (reader.depth_ + levels <= deepestNesting) return;
    reader.failAt(reader.cursor_, "nested too deeply: more than " + std::to_string(deepestNesting) +
                                      " levels at byte " + std::to_string(reader.cursor_ - reader.begin_));
  }

 private:
  JSONReader& reader_;
  Place& place_;
};

}  // namespace platform
