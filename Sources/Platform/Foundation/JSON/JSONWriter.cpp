#include "Platform/Foundation/JSON/JSONWriter.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "Platform/Foundation/JSON/EncodingError.hpp"
#include "Platform/Foundation/JSON/Internal/JSONScannerBlocks.hpp"
#include "Platform/Foundation/UTF8.hpp"

namespace platform {
namespace {

constexpr std::size_t firstCapacity = 256;

/// The longest escape: "\u001f".
constexpr std::size_t longestEscape = 6;

char* escape(char* out, char c) {
  static constexpr char digits[] = "0123456789abcdef";
  static constexpr std::string_view characters = "\"\\\b\f\n\r\t";
  static constexpr std::string_view letters = "\"\\bfnrt";
  *out++ = '\\';
  if (const std::size_t which = characters.find(c); which != std::string_view::npos) {
    *out++ = letters[which];
    return out;
  }
  const auto code = static_cast<unsigned char>(c);
  for (const char digit : {'u', '0', '0', digits[code >> 4U], digits[code & 0xFU]}) *out++ = digit;
  return out;
}

bool isSpecial(char c) { return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\'; }

}  // namespace

JSONWriter::JSONWriter(const JSONStrategies& strategies) : strategies_(strategies) { grow(firstCapacity); }

void JSONWriter::grow(std::size_t count) {
  const auto used = cursor_ == nullptr ? 0 : static_cast<std::size_t>(cursor_ - buffer_.view().data());
  buffer_.resize(used);
  // Escapes make a text longer one by one: each time by a good deal, or a long one would be copied for each.
  const std::size_t more = buffer_.capacity() + buffer_.capacity() / 2;
  buffer_.reserve(std::max({used + count, used * 2, more}) + deepestNesting);
  cursor_ = reinterpret_cast<char*>(buffer_.mutableBytes()) + used;
  end_ = cursor_ - used + buffer_.capacity() - deepestNesting;
}

Data JSONWriter::finish() {
  buffer_.resize(static_cast<std::size_t>(cursor_ - buffer_.view().data()));
  cursor_ = end_ = nullptr;
  return std::move(buffer_);
}

void JSONWriter::writeNull() { writeRaw("null"); }

void JSONWriter::writeBoolean(bool value) { writeRaw(value ? "true" : "false"); }

void JSONWriter::writeRaw(std::string_view json) {
  std::memcpy(need(json.size()), json.data(), json.size());
  cursor_ += json.size();
}

void JSONWriter::writeString(std::string_view text) {
  const char* in = text.data();
  const char* const end = in + text.size();
  // What is left, with a quote and, since whole blocks are copied, a block more.
  char* out = need(text.size() + 2 + detail::blockSize);
  *out++ = '"';
  std::uint64_t high = 0;
  const auto escapeNext = [&] {
    cursor_ = out;
    const auto left = static_cast<std::size_t>(end - in);
    out = escape(need(left + longestEscape + 1 + detail::blockSize), *in++);
  };
  while (static_cast<std::size_t>(end - in) >= detail::blockSize) {
    const detail::TextBlock block = detail::classify(in);
    std::memcpy(out, in, detail::blockSize);
    high |= block.high;
    const std::size_t plain = block.special == 0 ? detail::blockSize : detail::firstOf(block.special);
    in += plain;
    out += plain;
    if (block.special != 0) escapeNext();
  }
  while (in < end) {
    high |= static_cast<std::uint64_t>(*in & 0x80);
    if (isSpecial(*in)) {
      escapeNext();
    } else {
      *out++ = *in++;
    }
  }
  if (high != 0 && !isValidUTF8(text)) fail("the text is not UTF-8");
  *out++ = '"';
  cursor_ = out;
}

// Containers

void JSONWriter::open(char bracket, PathNode& node) {
  if (depth_ == deepestNesting) fail("nested too deeply: more than " + std::to_string(deepestNesting) + " levels");
  ++depth_;
  node.parent = node_;
  node_ = &node;
  put(bracket);
}

void JSONWriter::close(char bracket, const PathNode& node) noexcept {
  --depth_;
  node_ = node.parent;
  *cursor_++ = bracket;
}

JSONWriter::Object::Object(JSONWriter& writer) : writer_(writer) { writer.open('{', node_); }

JSONWriter::Object::~Object() { writer_.close('}', node_); }

void JSONWriter::Object::key(std::string_view key) {
  if (node_.step == PathNode::Step::key) writer_.put(',');
  node_.step = PathNode::Step::key;
  key_.assign(key);
  node_.key = key_;
  writer_.writeString(key);
  writer_.put(':');
}

JSONWriter::Array::Array(JSONWriter& writer) : writer_(writer) { writer.open('[', node_); }

JSONWriter::Array::~Array() { writer_.close(']', node_); }

void JSONWriter::Array::element() {
  if (node_.step == PathNode::Step::index) {
    writer_.put(',');
    ++node_.index;
  }
  node_.step = PathNode::Step::index;
}

void JSONWriter::fail(std::string problem) const {
  std::vector<CodingKey> path;
  for (const PathNode* node = node_; node != nullptr; node = node->parent) {
    if (node->step == PathNode::Step::key) path.emplace_back(std::string(node->key));
    if (node->step == PathNode::Step::index) path.emplace_back(node->index);
  }
  std::ranges::reverse(path);
  throw EncodingError(std::move(problem), std::move(path));
}

}  // namespace platform
