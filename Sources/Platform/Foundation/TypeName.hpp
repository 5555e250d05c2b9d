#pragma once

#include <string>
#include <typeinfo>

#include "Platform/Export.hpp"

namespace platform {

/// The name of a type as a C++ programmer writes it, with its namespaces, e.g. "app::User" or "std::string".
CORVANE_API std::string typeName(const std::type_info& type);
template <class T>
std::string typeName() {
  return typeName(typeid(T));
}

/// A type as a value, for example in an error about a value of the wrong type.
///
///     TypeValue{&typeid(int)}.name();  // "int"
struct TypeValue {
  /// Never null. Default: `void`.
  const std::type_info* type = &typeid(void);
  /// The type's name, as `typeName` spells it.
  std::string name() const { return typeName(*type); }
  friend bool operator==(const TypeValue& left, const TypeValue& right) { return *left.type == *right.type; }
};

}  // namespace platform
