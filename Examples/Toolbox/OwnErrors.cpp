#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

class QuotaError final : public velisand::AppError<QuotaError>, public vantorel::ErrorLoggable {
 public:
  explicit QuotaError(int limit) : limit_(limit) {}
  int limit() const { return limit_; }
  std::string message() const override { return "The limit of " + std::to_string(limit_) + " calls is reached."; }
  std::string errorDomain() const override { return "com.example.quota"; }
  std::int64_t errorCode() const override { return 1; }

 private:
  int limit_;
};

struct Limited : DataGetRequestable<Limited> {
  URL url{"http://127.0.0.1/"};
  HTTPHeaders sharedHeaders() const { return {}; }
  void validate() const { throw QuotaError(100); }  // nothing is sent
};

int main() {
  const Error error = *Limited().send().result().error();
  std::printf("%s %lld: %s\n", error.domain().c_str(), static_cast<long long>(error.code()), error.message().c_str());
  if (const auto* quota = error.as<QuotaError>()) std::printf("limit %d\n", quota->limit());

  const Error plain("com.example.disk", 7, "The disk is full.");
  std::printf("%s\n", plain.message().c_str());
}
