#pragma once

#include <cstddef>
#include <fstream>
#include <string>

namespace quorvid::sim {

// Writes down when what left, for programs that measure how long it takes to the screen: a line for
// each client of a stream that was taken in, and one for each picture when its first byte is about
// to be written. Times are of the monotonic clock, in nanoseconds.
//
//     NS accepted CLIENT
//     NS picture CLIENT NUMBER
//
// CLIENT is the service and the client's number there, as in fleet#1. NUMBER is the picture's in
// its loop, as the block code has it. A line is in the file at once. All calls on the network
// thread.
class SendLog {
 public:
  // Without a file it writes nothing. @throws SimError when the file can't be written
  explicit SendLog(const std::string& file);

  void accepted(const std::string& client);
  void picture(const std::string& client, std::size_t number);

 private:
  std::ofstream file_;
};

}  // namespace quorvid::sim
