#include "Corvane/Responses/ResponseRecord.hpp"

#include <utility>

namespace corvane {

using platform::HTTPURLResponse;
using platform::URLResponse;

namespace {

std::string describe(HTTPStatus status) {
  std::string text = std::string(status.name()) + " (";
  text += std::to_string(status.statusCode().value_or(status.rawValue()));
  // The name says it for the others.
  if (status == HTTPStatus::unknown && !status.reasonPhrase().empty()) text.append(" ").append(status.reasonPhrase());
  return text + ")";
}

}  // namespace

ResponseRecord ResponseRecord::of(std::shared_ptr<const URLResponse> response, std::optional<platform::Data> data) {
  ResponseRecord record;
  record.data = std::move(data);
  if (!response) return record;
  if (const auto* http = dynamic_cast<const HTTPURLResponse*>(response.get())) {
    record.headers = http->allHeaderFields();
    record.status = corvane::status(*http);
  }
  record.expectedContentLength = response->expectedContentLength();
  record.suggestedFilename = response->suggestedFilename();
  record.mimeType = response->mimeType();
  record.textEncodingName = response->textEncodingName();
  record.url = response->url();
  record.urlResponse = std::move(response);
  return record;
}

std::string describe(std::string_view typeName, const ResponseRecord& record, const platform::Error* error) {
  std::string text(typeName);
  text.append(": ").append(describe(record.status));
  text.append(", ").append(record.data ? std::to_string(record.data->count()) + " bytes" : "no data");
  if (record.mimeType) text.append(", ").append(*record.mimeType);
  if (record.url) text.append(", ").append(record.url->absoluteString());
  if (error) text.append(", error: ").append(error->message());
  return text;
}

}  // namespace corvane
