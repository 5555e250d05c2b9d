// expect: `body` is required and must convert to `Body`
#include "Corvane/Corvane.hpp"

struct SendFile : corvane::UploadRequestable<SendFile, corvane::DataResponse> {
  corvane::URL url = "http://127.0.0.1/";
#ifdef CORVANE_CORRECT
  corvane::Data body;
#endif
  corvane::HTTPHeaders sharedHeaders() const { return {}; }
};

void use() { SendFile().send(); }
