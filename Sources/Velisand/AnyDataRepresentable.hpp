#pragma once

#include <concepts>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Velisand/DataRepresentable.hpp"

namespace velisand {

/// A value of any type that converts to bytes. Immutable; copies share the value.
///
///     const AnyDataRepresentable body = "a text";
///     body.asData().count();  // 6
class CORVANE_API AnyDataRepresentable {
 public:
  template <class T>
    requires(!std::same_as<T, AnyDataRepresentable> && !std::same_as<T, std::string_view> && DataRepresentable<T>)
  AnyDataRepresentable(T value)  // NOLINT(google-explicit-constructor): any value with bytes is one
      : value_(std::make_shared<const T>(std::move(value))), type_(&typeid(T)), asData_(&bytesOf<T>) {}
  /// Text, which is kept as a `std::string` and converts to its bytes.
  AnyDataRepresentable(std::string_view text);  // NOLINT(google-explicit-constructor)
  AnyDataRepresentable(const char* text);       // NOLINT(google-explicit-constructor)

  /// The bytes, converted at each call; a file is read at each call. Throws what the conversion throws.
  platform::Data asData() const { return asData_(value_.get()); }

  /// The value if it has that type, or else null. Valid as long as any copy of this object exists.
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
