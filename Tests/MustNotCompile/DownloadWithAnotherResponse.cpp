// expect: The body of a download's response must be its `Download`: name both alike
#include "Corvane/Corvane.hpp"

#ifdef CORVANE_CORRECT
using Body = corvane::URL;
#else
using Body = corvane::Data;
#endif

struct GetFile : corvane::DownloadRequestable<GetFile, corvane::URL, corvane::DownloadResponse<Body>> {
  corvane::URL url = "http://127.0.0.1/";
  corvane::HTTPHeaders sharedHeaders() const { return {}; }
};

void use() { GetFile().send(); }
