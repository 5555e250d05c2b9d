#include "Platform/Foundation/JSON/Detail/JSONValueEncoder.hpp"

#include <cstddef>
#include <string_view>

namespace platform::detail {

/// The inside of an object, whose place ends with it also when something is thrown.
class JSONValueEncoder::Scope {
 public:
  explicit Scope(JSONWriter& writer) : writer_(writer) {
    writer.open('{', node_);
    node_.step = JSONWriter::PathNode::Step::key;
  }
  ~Scope() { writer_.close('}', node_); }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

  void stepTo(std::string_view key) { node_.key = key; }

 private:
  JSONWriter& writer_;
  JSONWriter::PathNode node_;
};

void JSONValueEncoder::encodeFields(JSONWriter& writer, const EncodingFieldTable& fieldTable,
                                    const void* const* fields) {
  Scope object(writer);
  bool isFirst = true;
  std::size_t index = 0;
  for (const EncodingFieldTable::Key& key : fieldTable.keys(writer.strategies_.keys)) {
    const void* const field = fields[index++];
    if (key.type->isAbsent != nullptr && key.type->isAbsent(field)) continue;
    writer.writeRaw(std::string_view(key.text).substr(isFirst ? 1 : 0));
    isFirst = false;
    object.stepTo(key.name());
    key.type->encode(writer, field);
  }
}

}  // namespace platform::detail
