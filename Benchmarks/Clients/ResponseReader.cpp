#include "Clients/ResponseReader.hpp"

#include <stdexcept>

namespace bench {

std::string requestText(const Task& task) {
  std::string text = "GET " + task.path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(task.port) + "\r\n";
  for (const RequestField& field : requestFields) text += std::string(field.name) + ": " + field.value + "\r\n";
  return text + "\r\n";
}

bool ResponseReader::take(const char* bytes, std::size_t count, std::uint64_t bodyBytes) {
  if (!inBody_) {
    const std::size_t before = head_.size();
    head_.append(bytes, count);
    const std::size_t end = head_.find("\r\n\r\n", before < 3 ? 0 : before - 3);
    if (end == std::string::npos) return false;
    count = head_.size() - end - 4;
    head_.resize(end + 2);
    takeHead(bodyBytes);
  }
  if (count > remaining_) throw std::runtime_error("Bytes follow the response");
  remaining_ -= count;
  inBody_ = remaining_ > 0;
  return !inBody_;
}

void ResponseReader::takeHead(std::uint64_t bodyBytes) {
  if (!head_.starts_with("HTTP/1.1 200 ")) throw std::runtime_error("The response is " + head_);
  const std::size_t field = head_.find("\r\nContent-Length: ");
  if (field == std::string::npos) throw std::runtime_error("The response has no length");
  remaining_ = std::stoull(head_.substr(field + 18));
  if (remaining_ != bodyBytes) throw std::runtime_error("The response has a wrong length");
  inBody_ = true;
  head_.clear();
}

}  // namespace bench
