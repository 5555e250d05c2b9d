#include <Corvane/Corvane.hpp>
#include <Corvane/DebugOutput/ShellCommand.hpp>
#include <cstdio>

using namespace corvane;

struct User {
  std::string name;
};

struct Rename : JSONPatchRequestable<Rename, EmptyJSON> {
  std::string name;
  HTTPHeaders sharedHeaders() const { return {}; }
  URL url() const { return URL("https://users.example.com/users/7"); }
  JSONReference body() const { return User{name}; }
};

struct Remove : JSONDeleteRequestable<Remove, EmptyJSON> {
  int number = 7;
  HTTPHeaders sharedHeaders() const { return {}; }
  URL url() const { return URL("https://users.example.com/users/" + std::to_string(number)); }
};

template <AnyRequest Request>
void show(const Request& request) {
  const ShellCommandOptions options{.hidesSecrets = true};
  const ShellCommand command = request.shellCommand(options);
  std::printf("%s\n", command.text.c_str());
}

int main() {
  Locale::setPreferredLanguages({{"en"}});  // for Accept-Language, in place of what the environment says
  show(Rename{.name = "Ada"});
  show(Remove());
}
