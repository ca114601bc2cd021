#include "apps/Command.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

Command::Command(std::vector<std::string> arguments)
    : output_(std::tmpfile()), errors_(std::tmpfile()) {
  if (output_ == nullptr || errors_ == nullptr) throw std::runtime_error("no temporary files");
  arguments.insert(arguments.begin(), QUORVID_APP);
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  pid_ = fork();
  if (pid_ == 0) {
    dup2(fileno(output_), STDOUT_FILENO);
    dup2(fileno(errors_), STDERR_FILENO);
    execv(QUORVID_APP, argv.data());
    _exit(127);
  }
}

Command::~Command() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  std::fclose(output_);
  std::fclose(errors_);
}

void Command::signal(int number) const {
  kill(pid_, number);
}

int Command::wait() {
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool Command::says(const std::string& text) const {
  for (int i = 0; i < 3000; ++i) {
    if ((output() + "\n" + errors()).find(text) != std::string::npos) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

std::string Command::textOf(std::FILE* file) {
  std::string text(1 << 20, '\0');
  const ssize_t count = pread(fileno(file), text.data(), text.size(), 0);
  text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return text;
}

std::string at(int port) {
  return "127.0.0.1:" + std::to_string(port);
}

std::string freshFile(const std::string& name) {
  const std::string path = testing::TempDir() + "quorvid-" + std::to_string(getpid()) + "-" + name;
  unlink(path.c_str());
  return path;
}
