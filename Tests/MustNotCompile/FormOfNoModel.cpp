// expect: A form is made of a plain struct or a map by text, whose members have names
#include <vector>

#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Search {
  std::string words;
};

#ifdef CORVANE_CORRECT
HTTPFormBody use(const Search& search) { return HTTPFormBody::of(search); }
#else
HTTPFormBody use(const std::vector<Search>& searches) { return HTTPFormBody::of(searches); }
#endif
