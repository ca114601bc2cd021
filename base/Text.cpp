#include "quorvid/base/Text.h"

#include <utility>

#include "base/Exception.h"

namespace quorvid {

Text::Text(const char* utf8) {
  if (utf8 != nullptr) object_ = std::make_shared<const std::string>(utf8);
}

Text::Text(std::string utf8) : object_(std::make_shared<const std::string>(std::move(utf8))) {}

const char* Text::c_str() const {
  return object_ ? object_->c_str() : nullptr;
}

std::size_t Text::length() const {
  return object_ ? object_->size() : 0;
}

std::string Text::description() const {
  return object_ ? *object_ : std::string("(null)");
}

Text Text::substringFromIndex(std::size_t index) const {
  if (index > length()) {
    throw Exception("substringFromIndex: index " + std::to_string(index) +
                    " beyond the text's length " + std::to_string(length()));
  }
  return object_ ? Text(object_->substr(index)) : Text();
}

bool operator==(const Text& a, const Text& b) {
  if (a.isMissing() || b.isMissing()) return a.isMissing() && b.isMissing();
  return *a.object_ == *b.object_;
}

}  // namespace quorvid
