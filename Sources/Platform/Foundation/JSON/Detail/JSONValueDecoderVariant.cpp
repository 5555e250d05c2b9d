#include <vector>

#include "Platform/Foundation/JSON/DecodingError.hpp"
#include "Platform/Foundation/JSON/Detail/JSONValueDecoder.hpp"

namespace platform::detail {
namespace {

/// How often each byte of a document may be looked at to find out which alternative is meant.
constexpr std::size_t mostLooks = 32;

}  // namespace

void JSONValueDecoder::decodeVariant(JSONReader& reader, const JSONDecoding* const* alternatives, std::size_t count,
                                     void* variant, void* (*emplace)(void* variant, std::size_t index)) {
  const JSONKind found = reader.kind();
  std::vector<std::size_t> candidates;
  for (std::size_t index = 0; index < count; ++index) {
    if ((alternatives[index]->kinds >> static_cast<unsigned>(found) & 1U) != 0) candidates.push_back(index);
  }
  if (candidates.empty()) reader.failMismatch("a value of another kind");
  if (found == JSONKind::object && candidates.size() > 1) candidates = {chooseByKeys(reader, alternatives, candidates)};
  // Only values without an inside are tried one after the other, so that no document takes more than its time.
  if (found == JSONKind::array) candidates.resize(1);

  const char* const start = reader.scanner_.cursor();
  for (const std::size_t index : candidates) {
    if (index == candidates.back()) {
      alternatives[index]->decode(reader, emplace(variant, index));
      return;
    }
    try {
      alternatives[index]->decode(reader, emplace(variant, index));
      return;
    } catch (const DecodingError&) {
      reader.scanner_.moveTo(start);
    }
  }
}

/// The first of the candidates whose required keys are all there, or else the last. As keys are looked for once on
/// each level of variants that are nested in each other, what that takes in all is bounded.
std::size_t JSONValueDecoder::chooseByKeys(JSONReader& reader, const JSONDecoding* const* alternatives,
                                           const std::vector<std::size_t>& candidates) {
  const char* const start = reader.scanner_.cursor();
  std::vector<const DecodingFieldTable::KeyIndex*> keyIndexes;
  std::vector<std::uint64_t> missing;
  for (const std::size_t index : candidates) {
    const auto fieldTable = alternatives[index]->fieldTable;
    keyIndexes.push_back(fieldTable ? &fieldTable().keyIndex(reader.strategies_.keys) : nullptr);
    missing.push_back(fieldTable ? keyIndexes.back()->required() : 0);
  }
  const char* position = start;
  for (JSONReader::Object object(reader); missing.front() != 0 && object.next();) {
    for (std::size_t candidate = 0; candidate < candidates.size(); ++candidate) {
      const std::size_t key =
          keyIndexes[candidate] ? keyIndexes[candidate]->find(object.key()) : DecodingFieldTable::KeyIndex::none;
      if (key != DecodingFieldTable::KeyIndex::none) missing[candidate] &= ~(std::uint64_t{1} << key);
    }
    reader.bytesLookedThrough_ += static_cast<std::size_t>(reader.scanner_.cursor() - position);
    position = reader.scanner_.cursor();
    if (reader.bytesLookedThrough_ > mostLooks * reader.document_.count()) {
      reader.failAt(start, "variants are nested too deeply in here");
    }
  }
  reader.scanner_.moveTo(start);
  for (std::size_t candidate = 0; candidate < candidates.size(); ++candidate) {
    if (missing[candidate] == 0) return candidates[candidate];
  }
  return candidates.back();
}

}  // namespace platform::detail
