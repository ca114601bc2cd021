#include "apps/quorvid/record/PieceName.h"

#include <fcntl.h>
#include <fmt/chrono.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "apps/common/Failure.h"

namespace quorvid::app {

std::string pieceName(const std::string& fileName, std::time_t start) {
  constexpr int kMostTries = 1000;
  const std::string ending = fileName.substr(fileName.rfind('.'));
  const std::string stem =
      fmt::format("{}-{:%Y%m%dT%H%M%SZ}", fileName.substr(0, fileName.size() - ending.size()),
                  fmt::gmtime(start));
  std::string name = stem + ending;
  std::error_code error;
  for (int n = 2; n < kMostTries && std::filesystem::exists(name, error); ++n) {
    name = fmt::format("{}-{}{}", stem, n, ending);
  }
  return name;
}

void requireNew(const std::string& fileName) {
  const int made = open(fileName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (made >= 0) {
    ::close(made);
  } else if (errno == EEXIST && std::filesystem::is_regular_file(fileName)) {
    throw Failure(fmt::format("'{}' exists by now, and is not overwritten", fileName));
  }
}

}  // namespace quorvid::app
