#pragma once

#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/JSON/JSONDecoding.hpp"
#include "Platform/Foundation/JSON/JSONStandardTypes.hpp"

namespace platform {

/// Makes values of JSON documents (RFC 8259).
///
///     struct User { std::int64_t id; std::string login; std::optional<std::string> name; };
///     const auto users = JSONDecoder().decode<std::vector<User>>(data);
///
/// | C++ | JSON |
/// |---|---|
/// | a plain struct | an object; each member by its name, as `JSONCodec` and the strategies change it |
/// | `std::optional`, `std::unique_ptr`, `std::shared_ptr` | the value; null and a missing key make it absent. All
/// other keys must be there | | integers | a number that is whole and within range, `1.0` and `1e2` included | |
/// `float`, `double` | a number; too small a one is zero, too large a one refused | | `bool`, `std::string` | true or
/// false, a string | | enumerations | any number of the underlying type; by `JSONCodec` a string | | `std::vector`,
/// `std::deque`, `std::list` | an array | | `std::set`, `std::unordered_set` | an array; of equal elements one is kept
/// | | `std::array` | an array of exactly that many elements | | maps from `std::string` | an object | | `std::variant`
/// | what the first alternative that fits is read from; see below | | `std::chrono::sys_time` | by the date strategy |
/// | `Data`, `URL`, `UUID` | a string: base64 (RFC 4648, 4), a URL reference, the canonical form |
/// | `JSONValue` | anything |
///
/// Keys that the model does not have are passed over. Where a key stands more than once, the last one counts.
/// What a member held before, its default value included, is overwritten. A byte-order mark is passed over.
///
/// A variant takes the first alternative that is read from this kind of value; among several that are read from
/// an object, the first whose required keys are all there; among several for a number or a string, the first
/// that can be made of it.
///
/// The whole document is checked, also where nothing is read from it. Text must be UTF-8, and surrogates come in
/// pairs; more than 512 levels of nesting are refused. A small value, to be used on any thread.
class JSONDecoder {
 public:
  JSONDecoder() = default;
  /// Reads dates and keys as the strategies say. Default: no dates, keys as members are called.
  explicit JSONDecoder(const JSONStrategies& strategies) : strategies_(strategies) {}

  /// Throws `DecodingError`, and what the codecs of the types throw. The document is read where it is.
  template <class T>
  T decode(const Data& document) const {
    JSONReader reader(document, strategies_);
    T value = reader.decode<T>();
    reader.finish();
    return value;
  }

 private:
  JSONStrategies strategies_;
};

}  // namespace platform
