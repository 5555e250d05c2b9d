#pragma once

#ifndef __SIZEOF_INT128__
#include <boost/multiprecision/cpp_int.hpp>
#endif

namespace platform::detail {

/// A whole number of 128 bits: the compiler's own, or Boost's where it has none, as for processors of 32 bits.
#ifdef __SIZEOF_INT128__
__extension__ using Int128 = __int128;
#else
using Int128 = boost::multiprecision::int128_t;
#endif

}  // namespace platform::detail
