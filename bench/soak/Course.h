// Course: how a program of a soak goes: it plays and rests by turns and tells once a second what
// the process holds. For scripts/soak.sh.
//
//   PROGRAM SECONDS MEMBERS SEED LOG SERVER...
//
// Members (views, players, pipelines) play random servers one after the other. SERVER has the ports
// FLEET,CAR,RELAY,LIST,POLLED of a simulator; 0: not to be asked for that. All begin with the first
// one's, which is sound, so that each holds what showing a picture takes. Once a minute, or about
// ten times in a short run, all rest: with the streams ended, the pictures let go and the threads
// gone, what is held must be what was held before, however many members happened to play. The log
// has a line for each second of play and one for each rest, with amounts in bytes:
//
//   play|rest seconds resident heap-used heap-free threads descriptors pictures starts restarts
//   queries lag
//
// starts: calls of a video worker. lag: seconds, the most of all members; -1: none is known.
#pragma once

#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace soak {

struct Server {
  int fleet = 0, car = 0, relay = 0, list = 0, polled = 0;
};

// What a member plays next, and for how long. path: as the C interface counts them.
struct Draw {
  int path = 0, port = 0, channel = 0;
  double stay = 0;  // seconds
};

struct Counts {
  unsigned long pictures = 0, starts = 0, restarts = 0, queries = 0;
  double lag = -1;
};

// Adds what one member counted.
void add(Counts& sum, const Counts& counts);

class Host {
 public:
  virtual ~Host() = default;
  virtual void begin() = 0;  // all members play
  virtual void turn() = 0;   // takes some milliseconds
  virtual void rest() = 0;   // all end their streams and let go what they hold; doesn't wait
  virtual Counts counts() = 0;
};

class Course {
 public:
  // Ends the process with status 2 when the arguments are wrong or the log can't be written.
  Course(int argc, char** argv);
  ~Course() { std::fclose(log_); }
  Course(const Course&) = delete;
  Course& operator=(const Course&) = delete;

  int members() const { return members_; }
  const std::vector<Server>& servers() const { return servers_; }
  // The first one of each member's is of the fleet server that is sound.
  Draw draw(bool isFirst, bool onlyFleet = false);
  std::mt19937& chance() { return chance_; }
  // To the end of the time.
  void run(Host& host);

 private:
  void rest(Host& host);
  void tell(const char* state, const Counts& counts);

  double seconds_ = 0, start_ = 0;
  int members_ = 0;
  std::size_t idleThreads_ = 0;
  std::FILE* log_ = nullptr;
  std::mt19937 chance_;
  std::vector<Server> servers_;
};

}  // namespace soak
