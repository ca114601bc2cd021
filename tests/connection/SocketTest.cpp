// Exact reading and writing, and connecting.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <optional>

#include "connection/ServerConnection.h"
#include "connection/Socket.h"
#include "connection/TestServer.h"

extern "C" std::int32_t tableBytesSeenFromC(void);

namespace quorvid::test {
namespace {

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

TEST(Socket, ReadnCountsWhatCame) {
  int ends[2];
  char buffer[9] = {};
  ASSERT_EQ(pipe(ends), 0);
  EXPECT_EQ(readn(ends[0], buffer, -1), 0);
  EXPECT_EQ(writen(ends[1], "abc", 3), 3);
  EXPECT_EQ(writen(ends[1], "abc", -5), -5);
  ::close(ends[1]);
  EXPECT_EQ(readn(ends[0], buffer, 8), 3);
  EXPECT_STREQ(buffer, "abc");
  ::close(ends[0]);
  EXPECT_EQ(readn(ends[0], buffer, 8), -1);
}

TEST(Socket, ReadnAndWritenGoOnAfterASignal) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const std::string sent(1 << 20, 's');  // more than a pipe holds
  std::string received(sent.size(), '\0');
  const auto size = static_cast<std::int32_t>(sent.size());
  std::int32_t read = 0, written = 0;
  std::thread reader([&] { read = readn(ends[0], received.data(), 8); });
  interruptOften(reader);
  std::thread writer([&] { written = writen(ends[1], sent.data(), size); });
  interruptOften(writer);
  reader.join();
  EXPECT_EQ(read, 8);
  EXPECT_EQ(readn(ends[0], received.data() + 8, size - 8), size - 8);
  writer.join();
  EXPECT_EQ(written, size);
  EXPECT_EQ(received, sent);
  EXPECT_GT(signalsSeen, 0);
}

// The wait of a read starts anew after each signal; the time-out must not, but does with a byte.
TEST(Socket, SignalsDoNotStretchTheReceiveTimeout) {
  using std::chrono::milliseconds, std::chrono::steady_clock;
  countSignals();
  for (const milliseconds every : {milliseconds(1), milliseconds(200)}) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const timeval second{1, 0};
    setsockopt(ends[0], SOL_SOCKET, SO_RCVTIMEO, &second, sizeof second);
    std::int32_t result = 0, error = 0;
    std::atomic<bool> ended{false};
    const auto start = steady_clock::now();
    std::thread reader([&] {
      char buffer[8];
      result = readn(ends[0], buffer, sizeof buffer);
      error = errno;
      ended = true;
    });
    auto sent = start;
    while (!ended && steady_clock::now() < start + std::chrono::seconds(15)) {
      std::this_thread::sleep_for(every);
      pthread_kill(reader.native_handle(), SIGUSR1);
      if (sent == start && steady_clock::now() > start + milliseconds(600)) {
        sent = steady_clock::now();
        writen(ends[1], "x", 1);
      }
    }
    EXPECT_TRUE(ended) << "with a signal every " << every.count() << " ms";
    ::close(ends[1]);
    reader.join();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(error, EAGAIN);
    if (sent < start + milliseconds(900)) {
      EXPECT_GE(steady_clock::now() - sent, std::chrono::seconds(1));
    }
    ::close(ends[0]);
  }
}

// Writing to a pipe nobody reads causes no signal, and one that the host keeps pending stays.
TEST(Socket, WritenToALostPeerFailsWithoutASignal) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  ::close(ends[0]);
  sigset_t sigpipe, pending;
  sigemptyset(&sigpipe);
  sigaddset(&sigpipe, SIGPIPE);
  for (const int hosts : {0, 1}) {
    if (hosts == 1) {
      pthread_sigmask(SIG_BLOCK, &sigpipe, nullptr);
      pthread_kill(pthread_self(), SIGPIPE);
    }
    EXPECT_EQ(writen(ends[1], "abc", 3), -1);
    EXPECT_EQ(errno, EPIPE);
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), hosts);
  }
}

// Only the low 16 bits of a port count, and descriptor 0 would mean "not connected".
TEST(Socket, ConnectsToADescriptorAboveZero) {
  TestServer server;
  const int input = dup(0);
  ::close(0);
  const Socket socket(nullptr, ConnectToServer("127.0.0.1", server.port + 65536));
  EXPECT_TRUE(socket.isOpen());
  EXPECT_EQ(fcntl(socket.descriptor(), F_GETFD), FD_CLOEXEC);
  EXPECT_EQ(fcntl(0, F_GETFD), -1);
  dup2(input, 0);
  server.accept().send("ok");
  char answer[3] = {};
  EXPECT_EQ(readn(socket.descriptor(), answer, 3), 2);
}

// A connect goes on by itself after a signal, and its outcome is told all the same. The full queue
// of the server makes it last until somebody is let in or the server is gone.
TEST(Socket, ConnectGoesOnAfterASignal) {
  constexpr const char* kHost = "127.0.0.77";  // whose ports nobody takes over meanwhile
  for (const bool letIn : {true, false}) {
    std::optional<TestServer> server(std::in_place, kHost, false);
    server->listen(0);
    const Socket filling(nullptr, ConnectToServer(kHost, server->port));
    std::int32_t connected = 0;
    CaptureStdout();
    std::thread connecting([&, port = server->port] { connected = ConnectToServer(kHost, port); });
    EXPECT_TRUE(eventually([&] { return server->isAskedToConnect(); }));
    interruptOften(connecting);
    letIn ? static_cast<void>(server->accept()) : server.reset();
    connecting.join();
    EXPECT_EQ(GetCapturedStdout(), letIn ? "" : "ConnectToHost connect to 127.0.0.77 fail\n");
    EXPECT_EQ(Socket(nullptr, connected).isOpen(), letIn);
  }
}

TEST(Socket, FailureToResolveIsPrinted) {
  for (const char* host : {"no..name", static_cast<const char*>(nullptr)}) {
    CaptureStdout();
    EXPECT_EQ(ConnectToServer(host, 80), -1);
    EXPECT_THAT(GetCapturedStdout(),
                testing::MatchesRegex("[A-Z][a-z]+ [A-Z][a-z]+ [ 0-9]+ [0-9]+:[0-9]+:[0-9]+ "
                                      "[0-9]+\n Gethostname error\n"));
  }
}

TEST(Socket, HeaderServesC) {
  EXPECT_EQ(tableBytesSeenFromC(), static_cast<std::int32_t>(200 * sizeof(DevInfoItem)));
}

}  // namespace
}  // namespace quorvid::test
