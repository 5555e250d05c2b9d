#include "Stage.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace {

/// Without the indentation that the lines of the block have in common.
void append(const std::vector<std::string>& block, std::vector<std::string>& code) {
  std::size_t margin = std::string::npos;
  for (const std::string& line : block) margin = std::min(margin, line.find_first_not_of(' '));
  for (const std::string& line : block) code.push_back(line.substr(std::min(margin, line.size())));
}

}  // namespace

Stage::Stage(const std::vector<std::string>& sources)
    : hasColours_(isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr) {
  for (const std::string& source : sources) {
    std::ifstream file(source);
    if (!file) throw std::runtime_error("the demo shows its own source, but cannot read " + source);
    for (std::string line; std::getline(file, line);) lines_.push_back(line);
  }
}

void Stage::step(const std::string& title, const std::string& name, const std::function<void()>& play) {
  ++steps_;
  const std::size_t brokenBefore = broken_.size();
  std::printf("\n%s\n", colour("1", std::to_string(steps_) + ". " + title).c_str());
  for (const std::string& line : codeOf(name)) std::printf("   %s\n", colour("36", line).c_str());
  std::fflush(stdout);
  try {
    play();
  } catch (const std::exception& error) {
    check(false, std::string("ended by an exception: ") + error.what());
  }
  if (broken_.size() == brokenBefore) ++kept_;
  std::fflush(stdout);
}

void Stage::got(const std::string& what, const std::string& value) {
  std::size_t begin = 0;
  bool isFirst = true;
  do {
    const std::size_t end = std::min(value.find('\n', begin), value.size());
    std::printf("   %s %-10s %s\n", isFirst ? "->" : "  ", isFirst ? what.c_str() : "",
                value.substr(begin, end - begin).c_str());
    begin = end + 1;
    isFirst = false;
  } while (begin < value.size());
}

void Stage::check(bool holds, const std::string& promise) {
  if (holds) return;
  broken_.push_back("step " + std::to_string(steps_) + ": " + promise);
  std::printf("   %s\n", colour("31", "NOT as promised: " + promise).c_str());
}

int Stage::finish() {
  std::printf("\n");
  for (const std::string& promise : broken_) std::printf("%s\n", colour("31", promise).c_str());
  std::printf("%s\n", colour(broken_.empty() ? "32" : "31",
                             std::to_string(kept_) + " of " + std::to_string(steps_) + " steps did what they say.")
                          .c_str());
  return broken_.empty() ? 0 : 1;
}

std::vector<std::string> Stage::codeOf(const std::string& name) const {
  std::vector<std::string> code;
  std::vector<std::string> block;
  bool isShown = false;
  for (const std::string& line : lines_) {
    const std::size_t text = line.find_first_not_of(' ');
    const std::string bare = text == std::string::npos ? std::string() : line.substr(text);
    if (bare == "// end" && isShown) {
      isShown = false;
      append(block, code);
      block.clear();
    }
    if (isShown) block.push_back(line);
    if (bare == "// show: " + name) isShown = true;
  }
  if (code.empty()) throw std::logic_error("no code is marked \"" + name + "\"");
  return code;
}

std::string Stage::colour(const char* code, const std::string& text) const {
  return hasColours_ ? std::string("\x1b[") + code + "m" + text + "\x1b[0m" : text;
}
