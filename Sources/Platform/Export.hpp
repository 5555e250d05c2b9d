#pragma once

#ifndef __cpp_exceptions
#error "Corvane needs C++ exceptions: compile the files that include it without -fno-exceptions."
#endif

/// Marks a type or function as part of the shared library's interface; everything else stays hidden.
#if defined(__GNUC__) || defined(__clang__)
#define CORVANE_API __attribute__((visibility("default")))
#else
#define CORVANE_API
#endif
