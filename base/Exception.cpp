#include "base/Exception.h"

#include <utility>

namespace quorvid {

Exception::Exception(std::string description) : description_(std::move(description)) {}

Exception::~Exception() = default;

const char* Exception::what() const noexcept {
  return description_.c_str();
}

}  // namespace quorvid
