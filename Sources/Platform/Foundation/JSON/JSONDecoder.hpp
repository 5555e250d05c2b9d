#pragma once

#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/JSON/JSONDecoding.hpp"
#include "Platform/Foundation/JSON/JSONStandardTypes.hpp"

namespace platform {

/// Decodes values from JSON documents (RFC 8259).
///
///     struct User { std::int64_t id; std::string login; std::optional<std::string> name; };
///     const auto users = JSONDecoder().decode<std::vector<User>>(data);
///
/// | C++ | JSON |
/// |---|---|
/// | a plain struct | an object; keys are the names of the members, or as `JSONCodec` and the strategies say |
/// | `std::optional`, `std::unique_ptr`, `std::shared_ptr` | the value; absent for null and for a missing key |
/// | integers | a number that is whole and within range, `1.0` and `1e2` included |
/// | `float`, `double` | a number; one that is too small is zero, one that is too large is refused |
/// | `bool`, `std::string` | true or false, a string |
/// | enumerations | any number of the underlying type; a string if `JSONCodec` has names |
/// | `std::vector`, `std::deque`, `std::list` | an array |
/// | `std::set`, `std::unordered_set` | an array; of equal elements one is kept |
/// | `std::array` | an array of exactly that many elements |
/// | maps from `std::string` | an object |
/// | `std::variant` | the JSON of its first alternative that fits; see below |
/// | `std::chrono::sys_time` | by the date strategy |
/// | `Data`, `URL`, `UUID` | a string: base64 (RFC 4648, 4), a URL reference, the canonical form |
/// | `JSONValue` | anything |
///
/// All keys are required, except those of optionals and pointers.
///
/// Keys that the model does not have are ignored. If a key occurs more than once, the last one counts. Members are
/// overwritten, including their default values. A byte-order mark is ignored.
///
/// A variant gets the first alternative that accepts the JSON type of the value. If several accept an object, it is the
/// first whose required keys are all present; if several accept a number or a string, it is the first that can be made
/// from it.
///
/// The whole document is validated, including parts that are not read. Text must be UTF-8, and surrogates must be
/// paired; more than 512 levels of nesting are refused. A small value that may be used on any thread.
class JSONDecoder {
 public:
  JSONDecoder() = default;
  /// A decoder with these strategies for dates and keys. Default: dates are refused, keys are the names of the members.
  explicit JSONDecoder(const JSONStrategies& strategies) : strategies_(strategies) {}

  /// Throws `DecodingError`, and what the codecs of the types throw. The document is not copied.
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
