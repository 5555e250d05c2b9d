#include "TerminalStyle.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace {

/// The environment as it was, when it goes.
class Environment {
 public:
  explicit Environment(const char* name) : name_(name) {
    if (const char* value = std::getenv(name)) before_ = value;
  }
  ~Environment() { set(before_ ? before_->c_str() : nullptr); }
  void set(const char* value) const { value ? ::setenv(name_, value, 1) : ::unsetenv(name_); }

 private:
  const char* name_;
  std::optional<std::string> before_;
};

class TerminalStyleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    noColour.set(nullptr);
    terminalType.set("xterm");
    master = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master, 0);
    ASSERT_EQ(::grantpt(master), 0);
    ASSERT_EQ(::unlockpt(master), 0);
    terminal = ::open(::ptsname(master), O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
  }
  void TearDown() override {
    ::close(terminal);
    ::close(master);
  }

  const Environment noColour{"NO_COLOR"};
  const Environment terminalType{"TERM"};
  int master = -1;
  int terminal = -1;
};

TEST_F(TerminalStyleTest, emphasisesAtATerminal) {
  const TerminalStyle style(terminal);

  EXPECT_TRUE(style.isOn());
  EXPECT_EQ(style.problem("corvane:"), "\033[1;31mcorvane:\033[0m");
  EXPECT_EQ(style.problem(""), "");
}

TEST_F(TerminalStyleTest, leavesTextAsItIsElsewhere) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);

  const TerminalStyle style(ends[1]);

  EXPECT_FALSE(style.isOn());
  EXPECT_EQ(style.problem("corvane:"), "corvane:");
  EXPECT_EQ(styledJSON("{\"a\": 1}", style), "{\"a\": 1}");
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST_F(TerminalStyleTest, obeysTheEnvironment) {
  noColour.set("1");
  EXPECT_FALSE(TerminalStyle(terminal).isOn());
  noColour.set("");
  EXPECT_TRUE(TerminalStyle(terminal).isOn());
  terminalType.set("dumb");
  EXPECT_FALSE(TerminalStyle(terminal).isOn());
  terminalType.set(nullptr);
  EXPECT_FALSE(TerminalStyle(terminal).isOn());
}

TEST_F(TerminalStyleTest, tellsKeysStringsAndLiteralsOfJSONApart) {
  const TerminalStyle style(terminal);
  const std::string json = "{\n  \"a \\\"b\\\\\" : [\"x:\", -1.5e3, true],\n  \"c\": {}\n}\n";

  EXPECT_EQ(styledJSON(json, style), "{\n  " + style.key("\"a \\\"b\\\\\"") + " : [" + style.string("\"x:\"") + ", " +
                                         style.literal("-1.5e3") + ", " + style.literal("true") + "],\n  " +
                                         style.key("\"c\"") + ": {}\n}\n");
}

TEST_F(TerminalStyleTest, neverLosesWhatIsNotValidJSON) {
  for (const std::string text : {"", "\"", "\"\\", "\"a\\\"", "nul", "{{", "\"a\" \"b\""}) {
    const TerminalStyle style(terminal);

    std::string styled = styledJSON(text, style);

    for (std::size_t at = 0; (at = styled.find('\033')) != styled.npos;)
      styled.erase(at, styled.find('m', at) - at + 1);
    EXPECT_EQ(styled, text);
  }
}

}  // namespace
