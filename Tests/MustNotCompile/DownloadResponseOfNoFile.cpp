// expect: A downloaded file cannot be made into this body type
#include "Corvane/Responses/DownloadResponse.hpp"

using namespace corvane;

struct Report {
#ifdef CORVANE_CORRECT
  explicit Report(const platform::URL&) {}
#else
  explicit Report(int) {}
#endif
};

void use(const DownloadResponse<Report>& response) { response.keepsFile(); }
