#include "apps/common/PasswordFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "apps/common/Deadline.h"
#include "apps/common/Failure.h"
#include "apps/common/Values.h"

namespace quorvid::app {

namespace {

constexpr std::size_t kLongestPassword = 31;
constexpr std::size_t kMostRead = 4096;  // without a line end
constexpr double kLineSeconds = 30;      // somebody may have to unlock a key first
constexpr double kWriterSeconds = 3;
constexpr int kLookMilliseconds = 50;

// An open password file, read without ever blocking for longer than it may.
class PasswordSource {
 public:
  explicit PasswordSource(const std::string& fileName)
      : name_(fmt::format("the password file '{}'", fileName)),
        fd_(open(fileName.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY)) {
    if (fd_ < 0) refuseRead();
  }
  ~PasswordSource() {
    if (fd_ >= 0) close(fd_);
  }
  PasswordSource(const PasswordSource&) = delete;
  PasswordSource& operator=(const PasswordSource&) = delete;

  [[noreturn]] void refuse(const std::string& why) const { throw Failure(name_ + " " + why); }
  [[noreturn]] void refuseRead() const {
    refuse(std::string("can't be read: ") + std::strerror(errno));
  }

  // Refuses a folder and a file that is open to others.
  void requireOwn(const std::string& fileName) {
    struct stat info {};
    if (fstat(fd_, &info) != 0) refuseRead();
    if (S_ISDIR(info.st_mode)) refuse("is a folder");
    if (S_ISREG(info.st_mode) && (info.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
      refuse(fmt::format("is open to other users; mend it with: chmod 600 '{}'", fileName));
    }
    isPipe_ = S_ISFIFO(info.st_mode);
  }

  // Everything up to the first line end or the end, with the line end.
  std::string readLine() {
    std::string text;
    while (text.find('\n') == std::string::npos) {
      char bytes[256];
      const ssize_t count = read(fd_, bytes, sizeof bytes);
      if (count > 0) {
        text.append(bytes, static_cast<std::size_t>(count));
        if (text.size() > kMostRead) {
          refuse(fmt::format("has no line end within {} bytes", kMostRead));
        }
      } else if (count < 0 && errno != EAGAIN && errno != EINTR) {
        refuseRead();
      } else if (count == 0 && !(text.empty() && mayGetWriter())) {
        return text;
      } else {
        await(count == 0);
      }
    }
    return text.substr(0, text.find('\n') + 1);
  }

 private:
  // A pipe that nobody has opened for writing yet reads as ended, but has not been hung up.
  bool mayGetWriter() const {
    pollfd looked{fd_, POLLIN, 0};
    return isPipe_ && poll(&looked, 1, 0) == 0;
  }

  void await(bool forWriter) const {
    const double waited = steadySeconds() - start_;
    if (forWriter && waited >= kWriterSeconds) refuse("is a pipe that nothing writes to");
    if (waited >= kLineSeconds) refuse("gave no line within 30 s");
    pollfd waitedFor{fd_, POLLIN, 0};
    poll(&waitedFor, 1, kLookMilliseconds);
  }

  const std::string name_;
  const int fd_;
  const double start_ = steadySeconds();
  bool isPipe_ = false;
};

bool hasByteOrderMark(const std::string& text) {
  return text.starts_with("\xEF\xBB\xBF") || text.starts_with("\xFF\xFE") ||
         text.starts_with("\xFE\xFF");
}

}  // namespace

std::string readPassword(const std::string& fileName) {
  if (fileName.empty()) return {};
  PasswordSource source(fileName);
  source.requireOwn(fileName);
  std::string line = source.readLine();
  if (line.empty()) source.refuse("is empty");
  if (hasByteOrderMark(line)) {
    source.refuse("begins with a byte order mark; save it as plain text without one");
  }
  for (const char end : {'\n', '\r'}) {
    if (!line.empty() && line.back() == end) line.pop_back();
  }
  if (line.empty()) {
    source.refuse("has an empty first line; leave the option out where there is no password");
  }
  requireFits("the password", line, kLongestPassword);
  return line;
}

}  // namespace quorvid::app
