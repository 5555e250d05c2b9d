#include <Corvane/ContentEncoding/GZipArchiver.hpp>
#include <Corvane/ContentEncoding/GZipUnarchiver.hpp>
#include <Corvane/Corvane.hpp>
#include <cmath>
#include <cstdio>

using namespace corvane;

template <class Kind, class Attempt>
void show(const char* name, Attempt attempt) try {
  attempt();
} catch (const Error& error) {
  std::printf("%s: %s\n", name, error.is<Kind>() ? error.message().c_str() : error.what());
} catch (const Kind& error) {
  std::printf("%s: %s\n", name, error.message().c_str());
}

struct Nowhere : DataGetRequestable<Nowhere> {  // has neither `url` nor `baseURL`
  HTTPHeaders sharedHeaders() const { return {}; }
};

int main() {
  show<HTTPRequestError>("HTTPRequestError", [] { Nowhere().send().get(); });
  show<GZipError>("GZipError", [] {
    const Data archive = GZipArchiver(Data("some text")).zip(GZipCompression::default_);
    GZipUnarchiver(Data(archive.view().substr(0, 15))).unzip();
  });
  show<EncodingError>("EncodingError", [] { JSONEncoder().encode(std::vector<double>{1, std::nan("")}); });
  show<DecodingError>("DecodingError", [] { JSONDecoder().decode<std::vector<int>>(Data("[1, \"two\"]")); });
}
