#include "sim/SimProcess.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <sstream>
#include <stdexcept>
#include <thread>

SimProcess::SimProcess(std::vector<std::string> arguments) : errors_(std::tmpfile()) {
  std::array<int, 2> out{};
  if (errors_ == nullptr || pipe(out.data()) != 0) throw std::runtime_error("no descriptors");
  arguments.insert(arguments.begin(), QUORVID_SIM);
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  pid_ = fork();
  if (pid_ == 0) {
    dup2(out[1], STDOUT_FILENO);
    dup2(fileno(errors_), STDERR_FILENO);
    close(out[0]);
    close(out[1]);
    execv(QUORVID_SIM, argv.data());
    _exit(127);
  }
  close(out[1]);
  readLines(out[0]);
  close(out[0]);
}

SimProcess::~SimProcess() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  std::fclose(errors_);
}

/// Four lines "service port", one JSON object, or the end.
void SimProcess::readLines(int descriptor) {
  std::string line;
  for (char c = 0; lines_.size() < 4 && read(descriptor, &c, 1) == 1;) {
    if (c != '\n') {
      line += c;
      continue;
    }
    lines_.push_back(line);
    if (line.front() == '{') return;
    std::istringstream words(line);
    std::string service;
    int port = 0;
    words >> service >> port;
    ports_[service] = port;
    line.clear();
  }
}

void SimProcess::signal(int number) const {
  kill(pid_, number);
}

int SimProcess::wait() {
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string SimProcess::errors() const {
  std::string text(100'000, '\0');
  const ssize_t count = pread(fileno(errors_), text.data(), text.size(), 0);
  text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return text;
}

bool SimProcess::says(const std::string& text) const {
  for (int i = 0; i < 1000; ++i) {
    if (errors().find(text) != std::string::npos) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}
