// Text: a string object that may be missing.
//
// Any thread; a Text never changes after it was made, so copies may be read everywhere.
// Idea: a shared, immutable string. Copies keep the identity of the object; a Text made from
// nullptr (or default-made) is missing: c_str() is null, length() is 0.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "quorvid/base/Export.h"

namespace quorvid {

class QUORVID_API Text {
 public:
  Text() = default;
  Text(std::nullptr_t) {}  // NOLINT(google-explicit-constructor): call sites read like strings
  Text(const char* utf8);  // NOLINT(google-explicit-constructor): null gives a missing text
  Text(std::string utf8);  // NOLINT(google-explicit-constructor)

  bool isMissing() const { return object_ == nullptr; }
  explicit operator bool() const { return !isMissing(); }

  // NUL-terminated UTF-8, null when missing. Valid as long as any copy of this Text lives.
  const char* c_str() const;
  // Bytes; 0 when missing.
  std::size_t length() const;
  // The text, or "(null)" when it is missing: what formatting an absent object prints.
  std::string description() const;
  // The bytes from `index` to the end. Throws Exception when index lies beyond the length.
  Text substringFromIndex(std::size_t index) const;
  // True when both share one object (or both are missing).
  bool isSameObject(const Text& other) const { return object_ == other.object_; }

  // Equal content; a missing text equals only a missing one.
  friend QUORVID_API bool operator==(const Text& a, const Text& b);

 private:
  std::shared_ptr<const std::string> object_;
};

}  // namespace quorvid
