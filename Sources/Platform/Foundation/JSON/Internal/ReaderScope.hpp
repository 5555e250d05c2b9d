#pragma once

#include <string>

#include "Platform/Foundation/JSON/JSONReader.hpp"

namespace platform {

class JSONReader::Scope {
 public:
  Scope(JSONReader& reader, PathNode& node) : reader_(reader), node_(node) { enter(reader, node); }
  ~Scope() { leave(reader_, node_); }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

  /// Passes the character that opens a container.
  static void enter(JSONReader& reader, PathNode& node) {
    checkDepth(reader, 1);
    ++reader.depth_;
    node.start = reader.cursor_++;
    reader.node_ = &node;
  }
  static void leave(JSONReader& reader, const PathNode& node) {
    --reader.depth_;
    reader.node_ = node.parent;
    reader.valueStart_ = node.start;
  }
  /// Requires that so many levels more stay within bounds, else throws.
  static void checkDepth(const JSONReader& reader, std::size_t levels) {
    if (reader.depth_ + levels <= deepestNesting) return;
    reader.failAt(reader.cursor_, "nested too deeply: more than " + std::to_string(deepestNesting) +
                                      " levels at byte " + std::to_string(reader.cursor_ - reader.begin_));
  }

 private:
  JSONReader& reader_;
  PathNode& node_;
};

}  // namespace platform
