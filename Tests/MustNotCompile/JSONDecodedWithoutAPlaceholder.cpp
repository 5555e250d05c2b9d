// expect: A type that JSON is decoded into has a default constructor, or a `placeholder\(\)` in its JSONCodec
// names: Money
#include "Corvane/Corvane.hpp"

using namespace corvane;

class Money {
 public:
  explicit Money(double amount) : amount_(amount) {}

 private:
  double amount_;
};

template <>
struct platform::JSONCodec<Money> {
  static Money decode(JSONReader& reader) { return Money(reader.decode<double>()); }
#ifdef CORVANE_CORRECT
  static Money placeholder() { return Money(0); }
#endif
};

Money use(const Data& document) { return JSONDecoder().decode<Money>(document); }
