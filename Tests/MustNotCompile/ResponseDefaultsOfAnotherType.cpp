// expect first: A mixin is given the type that derives from it
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Other {};
#ifdef CORVANE_CORRECT
struct Told : ResponseRecord, HTTPResponsableDefaults<Told> {};
#else
struct Told : ResponseRecord, HTTPResponsableDefaults<Other> {};
#endif

std::string use() { return Told().debugStatusAndHeaders(); }
