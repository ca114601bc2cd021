// PasswordFile: the password from a file that nobody else can read, or from a pipe.
#pragma once

#include <string>

namespace quorvid::app {

// The first line, without its line end ("\n" or "\r\n"); blanks belong to the password. 1 to 31
// bytes; an empty file name gives an empty password.
//
// A regular file that group or others may read or write is refused. A pipe (/dev/stdin, a shell's
// <(...), a FIFO) is nobody else's to read: it has 30 s for its line, and a FIFO 3 s for a writer.
// Throws Failure with a sentence for each way in which this can fail; never waits longer.
std::string readPassword(const std::string& fileName);

}  // namespace quorvid::app
