#pragma once

#include <stdexcept>

/// The command line asks for something that cannot be done; nothing was sent.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};
