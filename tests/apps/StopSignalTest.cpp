// SIGINT and SIGTERM while the main thread is held: here by a pipe that nobody reads.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <optional>

#include "apps/Command.h"
#include "sim/SimProcess.h"

namespace {

class HeldRecording : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
    pipe_ = open(file_.c_str(), O_RDWR | O_NONBLOCK);
    fcntl(pipe_, F_SETPIPE_SZ, 4096);  // the first frame does not fit
    command_.emplace(std::vector<std::string>{"record", at(sim_.port("fleet")), "--device",
                                              "TRUCK-7", "-o", file_});
    ASSERT_TRUE(eventually([this] {
      pollfd writable{pipe_, POLLOUT, 0};
      return poll(&writable, 1, 0) == 0;
    }));
  }
  void TearDown() override {
    command_.reset();
    close(pipe_);
    unlink(file_.c_str());
  }

  SimProcess sim_{{}};
  const std::string file_ = freshFile("held.h264");
  int pipe_ = -1;
  std::optional<Command> command_;
};

TEST_F(HeldRecording, EndsByItselfAfterOneSignal) {
  command_->signal(SIGTERM);
  EXPECT_TRUE(command_->says("could not end in order")) << command_->errors();
  EXPECT_EQ(command_->wait(), 128 + SIGTERM);
}

TEST_F(HeldRecording, EndsAtOnceAfterTwo) {
  command_->signal(SIGTERM);
  command_->signal(SIGINT);
  EXPECT_GT(command_->wait(), 128);
  EXPECT_EQ(command_->errors(), "");
}

}  // namespace
