#pragma once

#include <stdexcept>

namespace quorvid::sim {

// Something outside the program is wrong (a file, a port, an encoder): one sentence for the user,
// exit 1.
class SimError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The command line asks for something that can't be done: one sentence for the user, exit 2.
class UsageError : public SimError {
 public:
  using SimError::SimError;
};

}  // namespace quorvid::sim
