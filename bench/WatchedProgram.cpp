#include "bench/WatchedProgram.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>

namespace quorvid::bench {

WatchedProgram::WatchedProgram(const std::vector<std::string>& command) {
  std::vector<std::string> words = command;
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  started_ = std::chrono::steady_clock::now();
  const int error =
      ::posix_spawnp(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error(command[0] + " can't be started");
}

WatchedProgram::~WatchedProgram() {
  if (pid_ <= 0 || !isRunning()) return;
  ::kill(pid_, SIGTERM);
  ::waitpid(pid_, nullptr, 0);
}

bool WatchedProgram::isRunning() {
  if (pid_ > 0 && ::waitpid(pid_, nullptr, WNOHANG) == pid_) pid_ = -1;
  return pid_ > 0;
}

double WatchedProgram::processorSeconds() const {
  clockid_t clock{};
  timespec time{};
  if (::clock_getcpuclockid(pid_, &clock) != 0 || ::clock_gettime(clock, &time) != 0) return 0;
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

long WatchedProgram::residentKiB() const {
  std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
  for (std::string word; status >> word;) {
    long amount = 0;
    if (word == "VmRSS:" && status >> amount) return amount;
  }
  return 0;
}

std::size_t WatchedProgram::sharedObjects() const {
  std::ifstream maps("/proc/" + std::to_string(pid_) + "/maps");
  std::set<std::string> files;
  for (std::string line; std::getline(maps, line);) {
    std::string range, rights, offset, device, node, file;
    std::istringstream(line) >> range >> rights >> offset >> device >> node >> file;
    if (rights.size() > 2 && rights[2] == 'x' && file.find(".so") != std::string::npos) {
      files.insert(file);
    }
  }
  return files.size();
}

}  // namespace quorvid::bench
