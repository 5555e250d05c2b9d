#pragma once

#include <optional>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Dictionary.hpp"

namespace platform {

/// Information about a program or library, in a dictionary as packaging supplies it on other systems. There are two
/// bundles, which exist as long as the process. Thread-safe.
///
///     Bundle::main().setInfoDictionary(Dictionary{{"CFBundleName", "Weather"}});
class CORVANE_API Bundle {
 public:
  /// The application. Its information is absent until the application sets it. Set it early: values that are derived
  /// from it once, such as the user agent, do not change afterwards.
  static Bundle& main();
  /// This library. "CFBundleShortVersionString" is its version.
  static Bundle& library();

  Bundle(const Bundle&) = delete;
  Bundle& operator=(const Bundle&) = delete;

  /// The information. The library reads these keys, whose values are text: "CFBundleExecutable", "CFBundleIdentifier",
  /// "CFBundleShortVersionString" and "CFBundleVersion".
  std::optional<Dictionary> infoDictionary() const;
  /// Replaces the information; absent removes it.
  void setInfoDictionary(std::optional<Dictionary> information);

 private:
  explicit Bundle(std::optional<Dictionary> information);
  ~Bundle() = delete;

  struct State;
  State& state_;
};

}  // namespace platform
