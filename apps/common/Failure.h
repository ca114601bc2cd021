// Failure: how a command ends before its work is done. Whoever can't go on throws the sentence for
// the user; main() prints it, and nobody else, and exits with the status.
#pragma once

#include <stdexcept>
#include <string>

namespace quorvid::app {

class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& sentence, int status = 1)
      : std::runtime_error(sentence), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

}  // namespace quorvid::app
