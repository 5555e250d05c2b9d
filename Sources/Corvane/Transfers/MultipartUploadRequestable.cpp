#include "Corvane/Transfers/MultipartUploadRequestable.hpp"

#include "Corvane/Transfers/MultipartForm.hpp"

namespace corvane::detail {

void addForm(platform::URLRequest& request, const HTTPMediaType& contentType,
             const std::vector<MultipartFormSection>& sections, const std::optional<HTTPContentEncoderType>& encoder) {
  const MultipartForm form(sections);
  request.allHTTPHeaderFields.set("Content-Type",
                                  contentType.value() + "; boundary=" + form.boundaryGeneratory.boundary);
  platform::Data bytes = form.asData();
  request.httpBody = encoder ? encoder->encode(std::move(bytes)).bytes : std::move(bytes);
}

}  // namespace corvane::detail
