#include "quorvid/live/LiveView.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/Clock.h"
#include "quorvid/base/Log.h"
#include "quorvid/view/ViewHost.h"
#include "session/path/LiveViewFixture.h"

namespace quorvid::test {
namespace {

constexpr double kFrameSeconds = 0.02;
constexpr double kMostLag = 2;

class LiveViewTest : public LiveViewFixture {
 protected:
  static LiveTarget targetOf(const FleetServer& server) {
    LiveTarget target;
    target.host = "127.0.0.1";
    target.port = server.port();
    target.device = "BUS-17";
    return target;
  }

  // Turns the loop until the condition holds, 20 s at most.
  static bool turnsUntil(const std::function<bool()>& condition) {
    const double end = steadySeconds() + 20;
    while (!condition()) {
      if (steadySeconds() > end) return false;
      RunLoop::currentRunLoop()->refresh();
      sleepForTimeInterval(0.002);
    }
    return true;
  }
  bool comesTo(LiveState state) {
    return turnsUntil([&] { return view_->status().state == state; });
  }
  bool isShown(Ycc colour) const {
    const auto picture = view_->snapshot();
    if (!picture) return false;
    const auto* at = &picture->rgb[(picture->rgb.size() / 6 + picture->width / 2) * 3];
    return isNear({at[0], at[1], at[2]}, rgbOf(colour));
  }
  static void stream(FleetClient& client, const std::vector<std::string>& frames, int times) {
    for (int i = 0; i < times; ++i) {
      for (const std::string& frame : frames) {
        if (!client.sendVideo(frame)) return;
        sleepForTimeInterval(kFrameSeconds);
      }
    }
  }

  std::shared_ptr<LiveView> view_ = LiveView::initWithFrame(CGRectMake(0, 0, 320, 240));
};

TEST_F(LiveViewTest, ShowsAStreamTellsOfItAndWakesTheLoop) {
  FleetServer server([](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    stream(client, oneColouredFrames(kRust), 1000);
  });
  ASSERT_NE(view_, nullptr);
  std::vector<LiveState> told;
  view_->setStatusHandler([&](const LiveStatus& status) { told.push_back(status.state); });
  const auto wakes = std::make_shared<std::atomic<int>>(0);  // a call may outlast the test
  view_->setWakeHandler([wakes] { ++*wakes; });
  ASSERT_TRUE(view_->connect(targetOf(server)));
  ASSERT_TRUE(turnsUntil([&] { return view_->figures().shown >= 20; }));
  EXPECT_TRUE(isShown(kRust));
  pollfd waiting{view_->descriptor(), POLLIN, 0};
  EXPECT_EQ(poll(&waiting, 1, 10'000), 1);
  EXPECT_GT(*wakes, 5);
  EXPECT_EQ(told.back(), LiveState::Live);
  const LiveFigures figures = view_->figures();
  EXPECT_EQ(figures.streamWidth, 640);
  EXPECT_GT(figures.pictureRate, 1);
  EXPECT_GT(figures.bitRate, 1000);
  EXPECT_GE(figures.firstPicture, 0);
  EXPECT_LT(figures.lag, 5);
  view_->stop();
  EXPECT_TRUE(comesTo(LiveState::Stopped));
  EXPECT_TRUE(isShown(kRust)) << "the last picture stays";
}

TEST_F(LiveViewTest, ALateHostLosesNoReference) {
  const std::vector<std::string> rust = oneColouredFrames(kRust), teal = oneColouredFrames(kTeal);
  std::atomic<bool> change{false};
  FleetServer server([&](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    stream(client, rust, 1);
    while (!change) sleepForTimeInterval(0.01);
    stream(client, teal, 10);
    client.waitForClose();
  });
  view_->connect(targetOf(server));
  ASSERT_TRUE(turnsUntil([&] { return isShown(kRust); }));
  change = true;
  sleepForTimeInterval(60 * kFrameSeconds);  // the host does something else
  ASSERT_TRUE(turnsUntil([&] { return isShown(kTeal); }));
  EXPECT_EQ(view_->figures().held, 0U);
  EXPECT_GT(view_->figures().overwritten, 10U);
}

TEST_F(LiveViewTest, AnotherSizeNeedsNoRestart) {
  TestStreamOptions other;
  other.width = 352;
  other.height = 288;
  other.frames = 4;
  const H264TestStream small = encodeTestStream(other);
  std::vector<std::string> frames;
  for (std::size_t i = 0; i < small.frames.size(); ++i) {
    const auto bytes = small.frameBytes(i);
    frames.emplace_back(bytes.begin(), bytes.end());
  }
  FleetServer server([&](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    stream(client, oneColouredFrames(kRust), 20);
    stream(client, frames, 1000);
  });
  view_->connect(targetOf(server));
  ASSERT_TRUE(turnsUntil([&] { return isShown(kRust); }));
  ASSERT_TRUE(turnsUntil([&] {
    const auto picture = view_->snapshot();
    return picture->width == 352 && picture->height == 288;
  }));
  EXPECT_EQ(view_->figures().restarts, 0U);
  EXPECT_EQ(server.clientsSoFar(), 1);
}

TEST_F(LiveViewTest, AForkedChildThatEndsInOrderLeavesTheStreamAlone) {
  FleetServer server([](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    stream(client, oneColouredFrames(kRust), 1000);
  });
  view_->connect(targetOf(server));
  ASSERT_TRUE(turnsUntil([&] { return view_->figures().shown >= 3; }));
  const pid_t child = fork();
  if (child == 0) {
    view_->stop();
    _exit(0);
  }
  int status = 1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  const LiveFigures before = view_->figures();
  ASSERT_TRUE(turnsUntil([&] { return view_->figures().shown > before.shown + 20; }));
  EXPECT_EQ(view_->figures().reconnections, 0U);
}

TEST_F(LiveViewTest, SaysWhyThereIsNoPicture) {
  int gone = 0;
  {
    FleetServer server([](FleetClient& client) {
      client.readRequest();
      client.send(std::string("\x05\0\0\0", 4) + std::string(14, '\0'));
      client.waitForClose();
    });
    gone = server.port();
    view_->connect(targetOf(server));
    ASSERT_TRUE(comesTo(LiveState::Refused));
    EXPECT_EQ(view_->status().answerStatus, 5);
    EXPECT_TRUE(turnsUntil([&] { return view_->status().nextTry > 0; }));
  }
  LiveTarget target;
  target.host = "127.0.0.1";
  target.port = gone;
  target.device = "BUS-17";
  view_->connect(target);
  ASSERT_TRUE(comesTo(LiveState::Reconnecting));
  EXPECT_EQ(view_->status().reason, LiveReason::ConnectionRefused) << view_->status().sentence;

  target.device = std::string(32, 'x');
  EXPECT_FALSE(view_->connect(target));
  EXPECT_EQ(view_->status().reason, LiveReason::TargetImpossible);
  EXPECT_NE(view_->status().sentence, "");
}

TEST_F(LiveViewTest, ASilentStreamIsStartedAgain) {
  FleetServer server([](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    client.sendVideo(oneColouredFrames(kRust).front());
    client.waitForClose();
  });
  LiveOptions options;
  options.stallAfter = 0.3;
  options.greyWhenStill = true;
  view_->setOptions(options);
  view_->connect(targetOf(server));
  ASSERT_TRUE(comesTo(LiveState::Live));
  ASSERT_TRUE(turnsUntil([&] { return view_->figures().restarts >= 2; }));
  EXPECT_GE(server.clientsSoFar(), 2);
}

// Nothing of it waits: a session that is stopped ends by itself.
TEST_F(LiveViewTest, NoCallWaitsAndPlayFollowsStopAtOnce) {
  FleetServer server([](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    stream(client, oneColouredFrames(kRust), 1000);
  });
  double longest = 0;
  for (int i = 0; i < 10; ++i) {
    const double start = steadySeconds();
    view_->connect(targetOf(server));
    longest = std::max(longest, steadySeconds() - start);
    ASSERT_TRUE(turnsUntil([&] { return view_->figures().shown > 0; })) << i;
  }
  RecordProperty("longest_call_ms", std::to_string(longest * 1000));
  EXPECT_LT(longest, 1) << "a session's end takes longer";
}

TEST_F(LiveViewTest, HiddenItReceivesAndComesBackWithTheNewest) {
  const std::vector<std::string> rust = oneColouredFrames(kRust);
  const std::vector<std::string> group = oneColouredFrames(kTeal, false, 30);
  std::atomic<bool> change{false}, isSent{false};
  std::atomic<std::uint64_t> sent{0};
  FleetServer server([&](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    for (; !change; sent += rust.size()) stream(client, rust, 1);
    stream(client, {group.front()}, 1);
    sleepForTimeInterval(1.5 * kMostLag);
    stream(client, {group.begin() + 1, group.end()}, 1);
    sent += group.size();
    isSent = true;
    client.waitForClose();
  });
  LiveOptions options;
  options.mostLag = kMostLag;
  view_->setOptions(options);
  bool isLate = false;
  view_->setStatusHandler([&](const LiveStatus& told) { isLate |= told.state == LiveState::Late; });
  view_->connect(targetOf(server));
  ASSERT_TRUE(turnsUntil([&] { return isShown(kRust); }));
  const auto host = ViewHost::create();
  host->contentView()->addSubview(view_);
  host->setVisible(false);
  view_->setVisible(true);  // as far as it goes
  change = true;
  ASSERT_TRUE(turnsUntil([&] { return isSent && view_->figures().received == sent; }));
  EXPECT_TRUE(isShown(kRust));
  const LiveFigures before = view_->figures();
  host->setVisible(true);
  ASSERT_TRUE(turnsUntil([&] { return view_->figures().shown > before.shown; }));
  EXPECT_TRUE(isShown(kTeal)) << "the first picture is a new one";
  EXPECT_EQ(view_->figures().decoded, before.decoded + group.size());
  EXPECT_EQ(view_->figures().converted, before.converted + 1) << "nobody sees the others";
  EXPECT_LT(view_->figures().longestPause, 1.5 * kMostLag) << "nobody missed a picture";
  RunLoop::currentRunLoop()->refresh();
  EXPECT_FALSE(isLate) << "the group's first frame was old, its last is not";
  view_->removeFromSuperview();
}

TEST_F(LiveViewTest, SaysThatPicturesAreLeftOutBecauseTheyAreLate) {
  FleetServer server([](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    stream(client, oneColouredFrames(kRust), 1000);
  });
  LiveOptions options;
  options.mostLag = 0;
  view_->setOptions(options);
  view_->connect(targetOf(server));
  ASSERT_TRUE(comesTo(LiveState::Late));
  EXPECT_EQ(view_->status().reason, LiveReason::TooSlow);
  EXPECT_EQ(view_->figures().converted, 0U);
  options.mostLag = 5;
  view_->setOptions(options);
  ASSERT_TRUE(turnsUntil([&] { return view_->figures().shown > 0; }));
  EXPECT_EQ(view_->status().state, LiveState::Late) << "not forgotten at once";
  EXPECT_TRUE(comesTo(LiveState::Live));
}

TEST_F(LiveViewTest, SaysThatDrawingDoesntKeepPaceAndNotThatAHostTurnsSeldom) {
  FleetServer server([](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    stream(client, oneColouredFrames(kRust), 1000);
  });
  constexpr double kSlow = 0.1;
  double drawing = 0;
  const auto link = CADisplayLink::displayLinkWithTarget([&] { sleepForTimeInterval(drawing); });
  link->setEveryTurn(true);
  link->addToRunLoop(RunLoop::currentRunLoop(), NSDefaultRunLoopMode);
  view_->connect(targetOf(server));
  ASSERT_TRUE(comesTo(LiveState::Live));
  const double end = steadySeconds() + 4;
  bool isLate = false;
  ASSERT_TRUE(turnsUntil([&] {
    sleepForTimeInterval(kSlow);
    isLate = isLate || view_->status().state == LiveState::Late;
    return steadySeconds() > end;
  }));
  EXPECT_FALSE(isLate);
  const LiveFigures figures = view_->figures();
  EXPECT_LT(figures.converted, figures.shown + 10) << "one in a while that nobody took";
  EXPECT_GT(view_->figures().overwritten, 20U);
  drawing = kSlow;
  EXPECT_TRUE(
      turnsUntil([&] { return view_->status().sentence.find("drawing") != std::string::npos; }));
  EXPECT_EQ(view_->status().state, LiveState::Late);
  drawing = 0;
  EXPECT_TRUE(comesTo(LiveState::Live));
  link->invalidate();
}

}  // namespace
}  // namespace quorvid::test
