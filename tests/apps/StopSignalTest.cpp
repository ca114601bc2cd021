// SIGINT and SIGTERM while the main thread is held: here by a pipe that nobody reads.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "apps/Command.h"
#include "sim/SimProcess.h"

namespace {

TEST(HeldRecording, EndsByItselfAfterOneSignalAndAtOnceAfterTwo) {
  SimProcess sim({});
  for (const bool twice : {false, true}) {
    const std::string file = freshFile("held.h264");
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    pollfd writable{open(file.c_str(), O_RDWR | O_NONBLOCK), POLLOUT, 0};
    fcntl(writable.fd, F_SETPIPE_SZ, 4096);  // the first frame does not fit
    Command command({"record", at(sim.port("fleet")), "--device", "TRUCK-7", "-o", file});
    EXPECT_TRUE(eventually([&] { return poll(&writable, 1, 0) == 0; }));
    command.signal(SIGTERM);
    if (twice) command.signal(SIGINT);
    const int status = command.wait();
    EXPECT_TRUE(twice ? status > 128 : status == 128 + SIGTERM) << status;
    EXPECT_EQ(command.errors().find("could not end in order") == std::string::npos, twice);
    close(writable.fd);
    unlink(file.c_str());
  }
}

}  // namespace
