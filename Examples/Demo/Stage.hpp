#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

/// Shows steps to a person: the code that runs, what comes back, and whether that is what was promised.
class Stage {
 public:
  /// `sources` are the files whose marked code is shown: all lines between `// show: NAME` and `// end`.
  explicit Stage(const std::vector<std::string>& sources);

  /// Runs one step. Exceptions are failures of the step.
  void step(const std::string& title, const std::string& name, const std::function<void()>& play);
  /// Says what came back, one line each.
  void got(const std::string& what, const std::string& value);
  /// A promise of the step at hand.
  void check(bool holds, const std::string& promise);
  /// The last words, and the exit status.
  int finish();

 private:
  std::vector<std::string> codeOf(const std::string& name) const;
  std::string colour(const char* code, const std::string& text) const;

  std::vector<std::string> lines_;
  bool hasColours_;
  int steps_ = 0;
  int kept_ = 0;
  std::vector<std::string> broken_;
};
