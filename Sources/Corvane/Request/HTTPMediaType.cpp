#include "Corvane/Request/HTTPMediaType.hpp"

namespace corvane {

constexpr HTTPMediaType HTTPMediaType::json{Named{"application/json"}};
constexpr HTTPMediaType HTTPMediaType::textPlain{Named{"text/plain"}};
constexpr HTTPMediaType HTTPMediaType::multipartFormData{Named{"multipart/form-data"}};
constexpr HTTPMediaType HTTPMediaType::formURLEncoded{Named{"application/x-www-form-urlencoded"}};
constexpr HTTPMediaType HTTPMediaType::applicationOctetStream{Named{"application/octet-stream"}};
constexpr HTTPMediaType HTTPMediaType::imagePNG{Named{"image/png"}};
constexpr HTTPMediaType HTTPMediaType::imageJPEG{Named{"application/jpeg"}};
constexpr HTTPMediaType HTTPMediaType::pdf{Named{"application/pdf"}};
constexpr HTTPMediaType HTTPMediaType::gzip{Named{"application/gzip"}};
constexpr HTTPMediaType HTTPMediaType::xml{Named{"application/xml"}};
constexpr HTTPMediaType HTTPMediaType::any{Named{"*/*"}};

}  // namespace corvane
