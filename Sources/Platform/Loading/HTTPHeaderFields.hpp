#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/CopyOnWrite.hpp"

namespace platform {

/// Header fields in the order in which they were first added (RFC 9110, 5). Names are looked up without regard to case
/// and keep the spelling they were last set with; a repeated field keeps all its values. Copying is cheap: copies share
/// the fields until one of them is changed.
class CORVANE_API HTTPHeaderFields {
 public:
  /// A name and a value.
  using Field = std::pair<std::string, std::string>;
  using value_type = Field;
  using const_iterator = std::vector<Field>::const_iterator;

  HTTPHeaderFields() = default;
  /// The fields as given, repeated names included.
  HTTPHeaderFields(std::initializer_list<Field> fields);

  /// The value of the field, or the values of repeated fields joined with ", " (RFC 9110, 5.3); absent without such a
  /// field.
  std::optional<std::string> value(std::string_view name) const;
  /// Every value of that name, in order; empty without such a field.
  std::vector<std::string> values(std::string_view name) const;
  /// Whether there is a field of that name.
  bool contains(std::string_view name) const;
  /// Replaces every field of that name by one, in the place of the first.
  void set(std::string_view name, std::string_view value);
  /// Adds a field, even if one of that name exists.
  void add(std::string_view name, std::string_view value);
  /// Removes every field of that name. Returns whether there was one.
  bool remove(std::string_view name);
  /// Sets every field of `other`, as `set` does.
  void merge(const HTTPHeaderFields& other);

  /// The number of fields; each repeated field counts.
  std::size_t count() const { return fields().size(); }
  bool isEmpty() const { return fields().empty(); }
  const_iterator begin() const { return fields().begin(); }
  const_iterator end() const { return fields().end(); }

  /// Empty when name and value may be sent; otherwise a sentence that names the field and the fault: a name that is
  /// empty or not a token (RFC 9110, 5.6.2), or a value with a line break, a NUL or any control character but tab
  /// (5.5).
  static std::string problem(std::string_view name, std::string_view value);

  /// Equal fields in equal order; names without regard to case.
  friend CORVANE_API bool operator==(const HTTPHeaderFields& left, const HTTPHeaderFields& right);

 private:
  using Fields = std::vector<Field>;

  const Fields& fields() const { return fields_.get() ? *fields_.get() : none_; }
  Fields& own();

  static const Fields none_;
  CopyOnWrite<Fields> fields_;
};

}  // namespace platform
