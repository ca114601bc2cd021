#include "apps/Command.h"

#include <gtest/gtest.h>
#include <unistd.h>

std::string at(int port) {
  return "127.0.0.1:" + std::to_string(port);
}

std::string freshFile(const std::string& name) {
  const std::string path = testing::TempDir() + "quorvid-" + std::to_string(getpid()) + "-" + name;
  unlink(path.c_str());
  return path;
}
