// expect: A request names its response type
#include "Corvane/Corvane.hpp"

#ifdef CORVANE_CORRECT
using Upload = corvane::UploadRequestable<struct SendFile, corvane::DataResponse>;
#else
using Upload = corvane::UploadRequestable<struct SendFile>;
#endif

struct SendFile : Upload {
  corvane::URL url = "http://127.0.0.1/";
  corvane::Data body;
  corvane::HTTPHeaders sharedHeaders() const { return {}; }
};

void use() { SendFile().send(); }
