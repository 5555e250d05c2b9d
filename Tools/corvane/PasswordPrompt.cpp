#include "PasswordPrompt.hpp"

#include <termios.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>

#include "UsageError.hpp"

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

/// What the signal handler puts back, while there is something.
struct HiddenTerminal {
  volatile std::sig_atomic_t descriptor = -1;
  termios before{};
};
HiddenTerminal hiddenTerminal;

/// Ends the process by the signal, with a terminal that shows again what is typed. Calls only what a handler may
/// (signal-safety(7)).
void endShown(int signal) {
  if (hiddenTerminal.descriptor >= 0) tcsetattr(hiddenTerminal.descriptor, TCSANOW, &hiddenTerminal.before);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

/// While it exists, what is typed is not shown (termios(3)), and signals that end the process put that right.
class HiddenInput {
 public:
  explicit HiddenInput(int descriptor) {
    if (tcgetattr(descriptor, &hiddenTerminal.before) != 0) throw UsageError("--user: cannot ask for the password");
    hiddenTerminal.descriptor = descriptor;
    for (Handled& each : handled_) {
      struct sigaction action{};
      action.sa_handler = endShown;
      sigaction(each.signal, &action, &each.before);
    }
    termios settings = hiddenTerminal.before;
    settings.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(descriptor, TCSAFLUSH, &settings);
  }
  HiddenInput(const HiddenInput&) = delete;
  HiddenInput& operator=(const HiddenInput&) = delete;
  ~HiddenInput() {
    tcsetattr(hiddenTerminal.descriptor, TCSANOW, &hiddenTerminal.before);
    hiddenTerminal.descriptor = -1;
    for (const Handled& each : handled_) sigaction(each.signal, &each.before, nullptr);
  }

 private:
  struct Handled {
    int signal;
    struct sigaction before{};
  };
  Handled handled_[4] = {{SIGINT}, {SIGTERM}, {SIGHUP}, {SIGQUIT}};
};

std::optional<std::string> lineFrom(std::FILE* terminal) {
  std::string line;
  for (int c = std::fgetc(terminal); c != '\n'; c = std::fgetc(terminal)) {
    if (c == EOF) return std::nullopt;
    line.push_back(static_cast<char>(c));
  }
  return line;
}

}  // namespace

std::string passwordFromTerminal(const std::string& question) {
  const std::unique_ptr<std::FILE, FileCloser> terminal(std::fopen("/dev/tty", "r+e"));
  if (!terminal) throw UsageError("--user needs a password: write NAME:PASSWORD, or use a terminal");
  const auto password = [&] {
    const HiddenInput hidden(fileno(terminal.get()));  // first: what is typed early would be shown, or dropped
    std::fprintf(terminal.get(), "%s: ", question.c_str());
    std::fflush(terminal.get());
    return lineFrom(terminal.get());
  }();
  std::fputs("\n", terminal.get());
  if (!password) throw UsageError("--user needs a password");
  return *password;
}
