#include "support/ChildProcess.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

WrittenText::WrittenText() : file_(std::tmpfile(), std::fclose) {
  if (file_ == nullptr) throw std::runtime_error("no temporary file");
}

std::string WrittenText::text() const {
  std::string text(1 << 20, '\0');
  const ssize_t count = pread(descriptor(), text.data(), text.size(), 0);
  text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return text;
}

ChildProcess::ChildProcess(const char* program, std::vector<std::string> arguments, int output,
                           int errors) {
  arguments.insert(arguments.begin(), program);
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  pid_ = fork();
  if (pid_ == 0) {
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    alarm(100);
    execv(program, argv.data());
    _exit(127);
  }
}

ChildProcess::~ChildProcess() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
}

void ChildProcess::signal(int number) const {
  kill(pid_, number);
}

int ChildProcess::wait() {
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) ADD_FAILURE() << "it ran for 100 s";
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
