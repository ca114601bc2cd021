// Reads a text file that is named by a file URL. Any thread.
#pragma once

#include <string>

#include "quorvid/base/Text.h"

namespace quorvid {

// url: "file://" (also with the host "localhost") and an absolute path, percent-encoded; a plain
// path is taken as it is. Fills `text` and returns an empty string, or says why it could not: no
// such file, more than 1 MiB, not UTF-8.
std::string readTextFile(const Text& url, std::string& text);

}  // namespace quorvid
