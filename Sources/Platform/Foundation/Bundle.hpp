#pragma once

#include <optional>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Dictionary.hpp"

namespace platform {

/// What is known about a program or library: the information dictionary that packaging would supply elsewhere.
/// There are two, both living as long as the process. Thread-safe.
class CORVANE_API Bundle {
 public:
  /// The application. Its information is absent until the application sets it, early: what is made of it
  /// once, such as the user agent, does not change afterwards.
  static Bundle& main();
  /// This library. "CFBundleShortVersionString" is its version.
  static Bundle& library();

  Bundle(const Bundle&) = delete;
  Bundle& operator=(const Bundle&) = delete;

  /// The keys that matter here are texts: "CFBundleExecutable", "CFBundleIdentifier",
  /// "CFBundleShortVersionString" and "CFBundleVersion".
  std::optional<Dictionary> infoDictionary() const;
  /// Replaces the information; absent takes it away.
  void setInfoDictionary(std::optional<Dictionary> information);

 private:
  explicit Bundle(std::optional<Dictionary> information);
  ~Bundle() = delete;

  struct State;
  State& state_;
};

}  // namespace platform
