#pragma once

#include <concepts>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>

#include "Platform/Foundation/Data.hpp"
#include "Velisand/DataRepresentable.hpp"

namespace velisand {

/// A value of any type that has a form in bytes. Immutable; copies share the value.
class AnyDataRepresentable {
 public:
  template <class T>
    requires(!std::same_as<T, AnyDataRepresentable> && !std::same_as<T, std::string_view> && DataRepresentable<T>)
  AnyDataRepresentable(T value)  // NOLINT(google-explicit-constructor): any value with bytes is one
      : value_(std::make_shared<const T>(std::move(value))), type_(&typeid(T)), asData_(&bytesOf<T>) {}
  /// Text stands for its bytes, and is kept as a `std::string`.
  AnyDataRepresentable(std::string_view text)  // NOLINT(google-explicit-constructor)
      : AnyDataRepresentable(std::string(text)) {}
  AnyDataRepresentable(const char* text)  // NOLINT(google-explicit-constructor)
      : AnyDataRepresentable(std::string(text)) {}

  /// Made anew each time, of a file's bytes as they are now. Throws what making them throws.
  platform::Data asData() const { return asData_(value_.get()); }

  /// The value, if it is of that type, else null. Lives as long as any copy of this one.
  template <class T>
  const T* as() const {
    return *type_ == typeid(T) ? static_cast<const T*>(value_.get()) : nullptr;
  }

 private:
  template <class T>
  static platform::Data bytesOf(const void* value) {
    return velisand::asData(*static_cast<const T*>(value));
  }

  std::shared_ptr<const void> value_;
  const std::type_info* type_;
  platform::Data (*asData_)(const void* value);
};

}  // namespace velisand
