// Exception: the platform's exception class, raised by platform services for errors of the caller.
// Any thread.
#pragma once

#include <exception>
#include <string>

namespace quorvid {

class Exception : public std::exception {
 public:
  explicit Exception(std::string description);
  ~Exception() override;
  const char* what() const noexcept override;

 private:
  std::string description_;
};

}  // namespace quorvid
