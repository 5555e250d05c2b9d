#include "Platform/Foundation/Error.hpp"

#include <cxxabi.h>

#include <cerrno>
#include <new>
#include <ostream>

#include "Platform/Foundation/TypeName.hpp"
#include "Platform/Trap.hpp"

namespace platform {

namespace {

/// What can be told about an exception of a type that knows nothing of this library.
class ForeignError final : public CustomErrorBase<ForeignError> {
 public:
  ForeignError(std::string message, std::string domain) : message_(std::move(message)), domain_(std::move(domain)) {}
  std::string message() const override { return message_; }
  std::string errorDomain() const override { return domain_; }

 private:
  std::string message_;
  std::string domain_;
};

/// Its texts are short enough to be made without memory, but for the domain.
class OutOfMemoryError final : public CustomErrorBase<OutOfMemoryError> {
 public:
  std::string message() const override { return "out of memory"; }
  std::string errorDomain() const override { return "NSPOSIXErrorDomain"; }
  std::int64_t errorCode() const override { return ENOMEM; }

  /// A pointer that owns nothing, to one that was made without memory and is never destroyed.
  static std::shared_ptr<const CustomNSError> shared() noexcept {
    alignas(OutOfMemoryError) static std::byte place[sizeof(OutOfMemoryError)];
    static const auto* const error = ::new (static_cast<void*>(place)) OutOfMemoryError;
    return {std::shared_ptr<void>(), error};
  }
};

/// Requires: called inside a catch block.
ForeignError describeCurrentUnknown() {
  const std::type_info* type = abi::__cxa_current_exception_type();
  if (type == nullptr) return {"unknown exception", "unknown exception"};
  const std::string name = typeName(*type);
  return {"unknown exception of type " + name, name};
}

}  // namespace

CustomNSError& CustomNSError::operator=(const CustomNSError& other) noexcept {
  std::exception::operator=(other);
  delete what_.exchange(nullptr, std::memory_order_acq_rel);
  return *this;
}

CustomNSError::~CustomNSError() { delete what_.load(std::memory_order_acquire); }

std::string CustomNSError::errorDomain() const { return typeName(typeid(*this)); }

std::int64_t CustomNSError::errorCode() const { return 0; }

Dictionary CustomNSError::errorUserInfo() const { return {}; }

const char* CustomNSError::what() const noexcept try {
  const std::string* present = what_.load(std::memory_order_acquire);
  if (present != nullptr) return present->c_str();
  auto made = std::make_unique<const std::string>(message());
  // Two threads may both make the text; the first one's stays, since the pointer may be in use already.
  if (what_.compare_exchange_strong(present, made.get(), std::memory_order_acq_rel)) present = made.release();
  return present->c_str();
} catch (...) {
  return "out of memory";
}

NSError::NSError(std::string domain, std::int64_t code, std::string message, Dictionary userInfo)
    : domain_(std::move(domain)), code_(code), message_(std::move(message)), userInfo_(std::move(userInfo)) {}

Error::Error(std::string domain, std::int64_t code, std::string message, Dictionary userInfo)
    : Error(NSError(std::move(domain), code, std::move(message), std::move(userInfo))) {}

Error::Error(std::shared_ptr<const CustomNSError> held, std::exception_ptr thrown, bool isForeign) noexcept
    : held_(std::move(held)),
      thrown_(std::move(thrown)),  // NOLINT(bugprone-throw-keyword-missing): kept
      isForeign_(isForeign) {}

Error::~Error() = default;

Error Error::current() noexcept {
  std::exception_ptr exception = std::current_exception();
  if (exception == nullptr) trap("Error::current: no exception is being handled");
  return from(std::move(exception));
}

Error Error::from(std::exception_ptr exception) noexcept {
  if (exception == nullptr) trap("Error::from: there is no exception");
  try {
    return described(exception);
  } catch (...) {
    return {OutOfMemoryError::shared(), std::move(exception), true};
  }
}

Error Error::outOfMemory() noexcept { return {OutOfMemoryError::shared(), nullptr, false}; }

Error Error::described(const std::exception_ptr& exception) {
  try {
    std::rethrow_exception(exception);
  } catch (const std::bad_alloc&) {
    return {OutOfMemoryError::shared(), exception, true};
  } catch (const Error& error) {
    return error;
  } catch (const CustomNSError& error) {
    Error copy = error.toError();
    copy.thrown_ = exception;
    return copy;
  } catch (const std::exception& error) {
    return {std::make_shared<const ForeignError>(error.what(), typeName(typeid(error))), exception, true};
  } catch (...) {
    return {std::make_shared<const ForeignError>(describeCurrentUnknown()), exception, true};
  }
}

std::string Error::message() const { return held_->message(); }

std::string Error::domain() const { return held_->errorDomain(); }

std::int64_t Error::code() const { return held_->errorCode(); }

Dictionary Error::userInfo() const {
  Dictionary info = held_->errorUserInfo();
  if (!info.contains(CustomNSError::localizedDescriptionKey)) {
    info.set(CustomNSError::localizedDescriptionKey, message());
  }
  return info;
}

Error Error::withResponse(std::shared_ptr<const HTTPErrorResponse> response) const {
  Error copy = *this;
  copy.response_ = std::move(response);
  return copy;
}

Error Error::withMetrics(std::shared_ptr<const TaskMetrics> metrics) const {
  Error copy = *this;
  copy.metrics_ = std::move(metrics);
  return copy;
}

void Error::raise() const {
  if (thrown_ != nullptr) std::rethrow_exception(thrown_);
  throw *this;
}

const char* Error::what() const noexcept { return held_->what(); }

bool operator==(const Error& left, const Error& right) {
  return left.code() == right.code() && left.domain() == right.domain() && left.message() == right.message();
}

std::ostream& operator<<(std::ostream& stream, const Error& error) { return stream << error.message(); }

}  // namespace platform
