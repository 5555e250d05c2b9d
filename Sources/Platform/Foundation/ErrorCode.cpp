#include "Platform/Foundation/ErrorCode.hpp"

#include <map>
#include <memory>

#include "Platform/Detail/Locking.hpp"

namespace platform {

namespace {

class DomainCategory final : public std::error_category {
 public:
  explicit DomainCategory(std::string domain) : domain_(std::move(domain)) {}
  const char* name() const noexcept override { return domain_.c_str(); }
  std::string message(int code) const override { return domain_ + " error " + std::to_string(code); }

 private:
  std::string domain_;
};

struct Categories {
  detail::Mutex mutex;
  std::map<std::string, std::unique_ptr<const DomainCategory>> byDomain CORVANE_GUARDED_BY(mutex);
};

const std::error_category& category(const std::string& domain) {
  static auto& categories = *new Categories;
  const detail::MutexLock lock(categories.mutex);
  auto& entry = categories.byDomain[domain];
  if (entry == nullptr) entry = std::make_unique<const DomainCategory>(domain);
  return *entry;
}

}  // namespace

std::error_code toErrorCode(const Error& error) { return {static_cast<int>(error.code()), category(error.domain())}; }

}  // namespace platform
