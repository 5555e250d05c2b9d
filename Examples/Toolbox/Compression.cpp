#include <Corvane/ContentEncoding/GZipArchiver.hpp>
#include <Corvane/ContentEncoding/GZipCompression.hpp>
#include <Corvane/ContentEncoding/GZipUnarchiver.hpp>
#include <Corvane/ContentEncoding/HTTPContentEncoder.hpp>
#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

/// A content coding of one's own: each byte with 42 added.
class ShiftEncoder : public HTTPContentEncoderDefaults<ShiftEncoder> {
 public:
  explicit ShiftEncoder(Data data) : data_(std::move(data)) {}
  HTTPContentEncodingType encodingType() const { return HTTPContentEncodingType("x-shift"); }
  Data encodedData() const {
    std::string bytes(data_.view());
    for (char& byte : bytes) byte = static_cast<char>(byte + 42);
    return Data(bytes);
  }

 private:
  Data data_;
};
static_assert(HTTPContentEncoder<ShiftEncoder>);

int main() {
  const Data text(std::string(10'000, 'a'));
  const Data archive = GZipArchiver(text).zip(GZipCompression::bestCompression);
  std::printf("%zu bytes, smaller: %s\n", text.count(), archive.count() < text.count() ? "yes" : "no");
  std::printf("%s\n", GZipUnarchiver(archive).unzip() == text ? "the same text" : "another text");

  const auto encoder = HTTPContentEncoderType::of<ShiftEncoder>();
  const HTTPContentEncoderType::Encoded encoded = encoder.encode(Data("777"));
  std::printf("%s: %s\n", encoded.coding.c_str(), encoded.bytes.text().c_str());
}
