// Each state and each reason on the path where it comes about, and that no call waits in any.
#include <arpa/inet.h>
#include <netdb.h>
#include <sys/resource.h>

#include <set>

#include "base/Clock.h"
#include "quorvid/base/Log.h"
#include "quorvid/live/LiveView.h"
#include "session/path/LiveViewFixture.h"
#include "sim/SimProcess.h"
#include "support/ExpectLog.h"

// A name service that answers for one name too late for everybody, in place of the system's.
extern "C" int gethostbyname_r(const char* name, hostent* entry, char* work, std::size_t size,
                               hostent** found, int* error) {
  const std::string asked = name;
  if (asked == "slow.name") quorvid::sleepForTimeInterval(60);
  *found = nullptr;
  *error = HOST_NOT_FOUND;
  if (inet_aton(name, reinterpret_cast<in_addr*>(work)) == 0 || size < 64) return 0;
  char** const list = reinterpret_cast<char**>(work + 16);
  list[0] = work;
  list[1] = nullptr;
  *entry = {};
  entry->h_addr_list = list;
  *found = entry;
  return 0;
}

namespace quorvid::test {
namespace {

using State = LiveState;
using Reason = LiveReason;
constexpr LivePath kFleet = LivePath::Fleet, kCar = LivePath::Car, kRelay = LivePath::Relay;

LiveTarget targetAt(LivePath path, int port, const char* host = "127.0.0.1") {
  LiveTarget target;
  target.path = path;
  target.host = host;
  target.port = port;
  target.device = "BUS-1001";
  return target;
}

// One view, and what it has told.
struct Case {
  LivePath path;
  std::vector<std::string> trouble;  // of the simulator; or none, and a host
  State state;
  Reason reason;
  const char* sentence = "";
  const char* host = "";
  LiveOptions options = {1.5};

  std::shared_ptr<SimProcess> server = nullptr;
  std::shared_ptr<LiveView> view = nullptr;
  bool isSeen = false;
  std::string told = "";

  void serve() {
    if (*host == '\0') server = std::make_shared<SimProcess>(trouble);
  }
  void begin(std::set<State>& states) {
    int port = 1;
    if (server != nullptr) {
      const char* const services[] = {"fleet", "car", "relay"};
      port = server->port(services[static_cast<int>(path)]);
    }
    view = LiveView::initWithFrame(CGRectMake(0, 0, 32, 24), options);
    view->setStatusHandler([this, &states](const LiveStatus& status) {
      states.insert(status.state);
      told += std::string(nameOf(status.state)) + ": " + status.sentence + "\n";
      isSeen = isSeen || (status.state == state && status.reason == reason &&
                          status.sentence.find(sentence) != std::string::npos);
    });
    view->connect(targetAt(path, port, server != nullptr ? "127.0.0.1" : host));
  }
};

// Whether a call waits for a server or a pause, which take seconds: not whether the machine is
// busy.
template <class Call>
bool waits(Call call) {
  const auto switches = [] {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nvcsw;
  };
  const double start = steadySeconds();
  const long before = switches();
  call();
  return switches() > before && steadySeconds() - start > 0.5;
}

TEST(LiveStatus, EachStateAndReasonIsToldAndNoCallWaitsInAny) {
  const ExpectLog held("", LogCount::Any);  // damage has its lines
  const auto fault = [](const char* what) { return std::vector<std::string>{"--fault", what}; };
  Case cases[] = {
      {kFleet, {}, State::Live, Reason::None},
      {kCar, {}, State::Live, Reason::None},
      {kRelay, {}, State::Live, Reason::None},
      {kFleet, {}, State::Late, Reason::TooSlow, "", "", {0, 1e-6}},
      {kFleet, {}, State::Stalled, Reason::TooSlow, "", "", {1.5, 1e-6}},
      {kFleet, fault("answer:fleet:7"), State::Refused, Reason::RefusedByServer, "status 7"},
      {kFleet, fault("bad-kind:fleet:3"), State::Reconnecting, Reason::BrokenStream},
      {kCar, fault("too-large:car:3"), State::Reconnecting, Reason::BrokenStream},
      {kFleet, fault("close:fleet:900"), State::Reconnecting, Reason::ConnectionLost, "closed"},
      {kCar, fault("reset:car:900"), State::Reconnecting, Reason::ConnectionLost, "is lost"},
      {kFleet, fault("stall:fleet:18"), State::Stalled, Reason::Silent, "nothing has come yet"},
      {kCar, fault("stall:car:60000"), State::Stalled, Reason::Silent, "sends nothing"},
      {kCar, fault("stall:car:9"), State::Reconnecting, Reason::Silent, "10 s", "", {0}},
      {kFleet, fault("noise:fleet:1"), State::WaitingForKeyFrame, Reason::NoKeyFrame, "", "", {0}},
      {kFleet, fault("noise:fleet:7"), State::WaitingForKeyFrame, Reason::PicturesOutOfOrder},
      {kRelay, fault("wrong-command:relay"), State::Reconnecting, Reason::NoRelay},
      {kRelay, fault("refuse:relay"), State::Reconnecting, Reason::ConnectionRefused, "at 127."},
      {kRelay, fault("refuse:car"), State::Reconnecting, Reason::ConnectionRefused, "the relay"},
      {kRelay, fault("delay:relay:60000"), State::Connecting, Reason::None},
      {kRelay, fault("close:car:900"), State::Reconnecting, Reason::ConnectionLost, "the relay"},
      {kFleet, {}, State::Reconnecting, Reason::NameNotFound, "", "no.name"},
      {kRelay, {}, State::Resolving, Reason::None, "", "slow.name"},
      {kCar, {}, State::Reconnecting, Reason::Unreachable, "", "127.255.255.255"},
  };
  std::set<State> states{State::Idle};
  for (Case& each : cases) each.serve();
  for (Case& each : cases) each.begin(states);
  const double end = steadySeconds() + 40;
  const auto isSeen = [](const Case& each) { return each.isSeen; };
  while (!std::all_of(std::begin(cases), std::end(cases), isSeen) && steadySeconds() < end) {
    RunLoop::currentRunLoop()->refresh();
    sleepForTimeInterval(0.004);
  }
  for (Case& each : cases) {
    const auto number = &each - cases;
    EXPECT_TRUE(each.isSeen) << number << '\n' << each.told;
    const bool onlyAsks = each.path == kRelay && each.state == State::Connecting;
    const bool goesOn = each.told.find("key frame") != std::string::npos ||
                        each.told.find("connected") != std::string::npos;
    EXPECT_FALSE(onlyAsks && goesOn) << each.told;
    LiveView& view = *each.view;
    EXPECT_FALSE(waits([&] { view.setOptions({2}); })) << number;
    EXPECT_FALSE(waits([&] { view.setVisible(false); })) << number;
    EXPECT_FALSE(waits([&] { view.restart(); })) << number;
    EXPECT_FALSE(waits([&] { view.stop(); })) << number;
    RunLoop::currentRunLoop()->refresh();
    EXPECT_FALSE(waits([&] { view.connect(targetAt(kFleet, 1, "slow.name")); })) << number;
    EXPECT_FALSE(waits([&] { each.view.reset(); })) << number;
  }
  EXPECT_EQ(states.size(), 10U) << "all but Failed";
}

TEST(LiveStatus, ALookupThatFailedIsRepeatedThoughNoStallCounts) {
  const SimProcess server({"--fault", "wrong-command:relay", "--fault-times", "1"});
  const auto view = LiveView::initWithFrame(CGRectMake(0, 0, 32, 24), {0});
  view->connect(targetAt(kRelay, server.port("relay")));
  EXPECT_TRUE(eventually([&] {
    RunLoop::currentRunLoop()->refresh();
    return view->status().state == State::Live;
  }));
  EXPECT_EQ(view->figures().reconnections, 1U);
}

// clang's undefined behaviour sanitizer can't look at an object's type without descriptors.
#if !defined(__clang__)
TEST(LiveStatus, WithoutDescriptorsItSaysSoAndGoesOn) {
  const ExpectLog refused("", LogCount::Any);
  const auto view = LiveView::initWithFrame(CGRectMake(0, 0, 32, 24));
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  const rlimit none{3, before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  const auto other = LiveView::initWithFrame(CGRectMake(0, 0, 32, 24));
  view->connect(targetAt(kCar, 1));
  eventually([&] { return view->status().reason != Reason::None; });
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(view->status().reason, Reason::NoResources) << view->status().sentence;
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(other->descriptor(), -1);
}
#endif

// In a process of its own, in which no display was opened yet.
TEST(LiveStatus, AViewThatCantDrawSaysSo) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto run = [] {
    setLogSink(nullptr);
    setenv("__EGL_VENDOR_LIBRARY_FILENAMES", "/dev/null", 1);
    const auto view = LiveView::initWithFrame(CGRectMake(0, 0, 32, 24));
    State told = State::Idle;
    view->setStatusHandler([&](const LiveStatus& status) { told = status.state; });
    const bool plays = view->connect(targetAt(kFleet, 1)) || view->play() || view->isPlaying();
    const auto later = LiveView::initToDrawLater(CGRectMake(0, 0, 32, 24));
    const bool asks = later->connect(targetAt(kFleet, 1)) && later->isPlaying();
    RunLoop::currentRunLoop()->refresh();
    const bool gaveUp = later->status().reason == Reason::NoGraphics && !later->isPlaying();
    std::exit(asks && gaveUp && view->status().reason == Reason::NoGraphics &&
                      told == State::Failed && !plays && !view->snapshot()
                  ? 0
                  : 1);
  };
  EXPECT_EXIT(run(), testing::ExitedWithCode(0), "EGL");
}

}  // namespace
}  // namespace quorvid::test
