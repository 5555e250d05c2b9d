#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

int main() {
  HTTPClientConfiguration bank;
  // The key in use, and the one that will follow it.
  const std::vector<std::string> keys{"47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU=",
                                      "LPJNul+wow4m6DsqxbninhsWHlwfp0JecwQzYpOLmCQ="};
  bank.tls.pins = {{.host = "bank.example", .includesSubdomains = true, .publicKeys = keys}};
  HTTPClientConfiguration::setDefault(bank);

  bank.tls.pins[0].publicKeys.pop_back();
  std::printf("%s\n", bank.problem().c_str());
}
