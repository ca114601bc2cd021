#include "sim/SimProcess.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <sstream>
#include <stdexcept>

#include "support/Eventually.h"

SimProcess::SimProcess(std::vector<std::string> arguments) {
  std::array<int, 2> out{};
  if (pipe2(out.data(), O_CLOEXEC) != 0) throw std::runtime_error("no descriptors");
  process_.emplace(QUORVID_SIM, std::move(arguments), out[1], errors_.descriptor());
  close(out[1]);
  readLines(out[0]);
  close(out[0]);
}

// Four lines "service port", one JSON object, or the end.
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

bool SimProcess::says(const std::string& text) const {
  return eventually([&] { return errors().find(text) != std::string::npos; });
}
