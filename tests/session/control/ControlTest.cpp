#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "session/control/Standins.h"

namespace quorvid::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Control : public ::testing::Test {
 protected:
  void SetUp() override {
    standins = Standins();
    view_ = UIFleetLiveView::initWithFrame(CGRectMake(10, 20, 320, 240));
    view_->setConnectionParm("10.0.0.1", 6608, 3, "acc", "pwd", "BUS-17");
    loop_ = RunLoop::currentRunLoop();
  }
  void TearDown() override {
    view_->stopVideo();
    EXPECT_EQ(loop_->linkCount(), 0U);
  }

  std::vector<std::string> journal() { return std::exchange(standins.journal, {}); }
  bool attached() const { return view_->playLayer()->superlayer() == view_->layer(); }
  void offer(std::string frame) {
    standins.frame = std::move(frame);
    standins.frameLength = static_cast<std::uint32_t>(standins.frame.size());
    standins.frameReady = true;
    view_->setVideoH264(nullptr);
    view_->playVideo();
    journal();
  }

  std::shared_ptr<UIFleetLiveView> view_;
  std::shared_ptr<RunLoop> loop_;
};

const std::string kSession = "session 10.0.0.1 6608 80 3 acc pwd 2 BUS-17 true";
const std::string kPause = "sleep 0.500000";

TEST_F(Control, ANewViewIsIdleWithItsDecoderAndLayerReady) {
  EXPECT_EQ(view_->layer()->backgroundColor(), UIColor::whiteColor().CGColor());
  EXPECT_EQ(view_->playLayer()->backgroundColor(), UIColor::blackColor().CGColor());
  EXPECT_EQ(standins.layerFrame.origin.x, 10);  // the view's frame, not its bounds
  EXPECT_EQ(view_->h264Decoder()->delegate(), view_);
  EXPECT_FALSE(attached());
  view_->restartVdieo();
  view_->stopVideo();
  EXPECT_THAT(journal(), IsEmpty());
  const std::weak_ptr<UIFleetLiveView> watch = UIFleetLiveView::initWithFrame(CGRect());
  EXPECT_TRUE(watch.expired());
  standins.decoderCanBeMade = false;
  EXPECT_EQ(UIFleetLiveView::initWithFrame(CGRect()), nullptr);
  standins.decoderCanBeMade = true;
  standins.layerCanBeMade = false;
  EXPECT_EQ(UIFleetLiveView::initWithFrame(CGRect()), nullptr);
}

TEST_F(Control, PlayStartsASessionAndATimerAndStopEndsBoth) {
  view_->playVideo();
  EXPECT_THAT(journal(), ElementsAre(kSession));
  EXPECT_TRUE(attached());
  EXPECT_EQ(view_->displayTimer()->frameInterval(), 2);
  EXPECT_EQ(loop_->linkCount(), 1U);
  view_->stopVideo();
  EXPECT_THAT(journal(), ElementsAre("cancel", "session gone"));
  EXPECT_EQ(view_->displayTimer(), nullptr);
  EXPECT_FALSE(attached());
}

TEST_F(Control, PlayingAgainAndRestartingStopPauseAndPlay) {
  view_->playVideo();
  journal();
  view_->playVideo();
  EXPECT_THAT(journal(), ElementsAre("cancel", "session gone", kPause, kSession));
  view_->setChannel(5);
  view_->restartVdieo();
  EXPECT_THAT(journal(), ElementsAre("cancel", "session gone", kPause,
                                     "session 10.0.0.1 6608 80 5 acc pwd 2 BUS-17 true"));
  EXPECT_EQ(loop_->linkCount(), 1U);
}

TEST_F(Control, ARejectedSessionLeavesAPlayingViewThatShowsNothing) {
  view_->setHost(nullptr);
  view_->playVideo();
  EXPECT_EQ(view_->videoH264(), nullptr);
  EXPECT_TRUE(attached());
  loop_->refresh(2);
  journal();
  view_->playVideo();  // it counts as playing
  EXPECT_THAT(journal(), ElementsAre(kPause, "session (null) 6608 80 3 acc pwd 2 BUS-17 true"));
}

// Only the flag is cleared: the earlier session is let go without a word, the earlier timer ticks
// on beside the new one.
TEST_F(Control, NewConnectionParametersDuringPlaybackStopNothing) {
  view_->playVideo();
  const auto earlier = view_->displayTimer();
  view_->setConnectionParm("10.0.0.2", 1, 0, "a", "p", "CAR");
  journal();
  view_->playVideo();
  EXPECT_THAT(journal(), ElementsAre("session 10.0.0.2 1 80 0 a p 2 CAR true", "session gone"));
  EXPECT_EQ(loop_->linkCount(), 2U);
  earlier->invalidate();
}

TEST_F(Control, TheTimerKeepsAPlayingViewAliveUntilItStops) {
  view_->playVideo();
  const std::weak_ptr<UIFleetLiveView> watch = view_;
  UIFleetLiveView* const raw = std::exchange(view_, UIFleetLiveView::initWithFrame(CGRect())).get();
  ASSERT_FALSE(watch.expired());
  raw->stopVideo();
  EXPECT_TRUE(watch.expired());
}

TEST_F(Control, EverySecondRefreshTakesOneFrameWhole) {
  offer(std::string("\0\0\0\1\x61", 5) + std::string(95, 'p'));
  loop_->refresh();
  EXPECT_THAT(journal(), IsEmpty());
  loop_->refresh();
  EXPECT_THAT(journal(), ElementsAre("decode 0 100", "clear"));
  loop_->refresh(2);
  EXPECT_THAT(journal(), IsEmpty());
}

std::string keyFrame(char typeAt25, std::size_t size) {
  std::string frame(size, '\0');
  frame[4] = 0x67;
  frame[25] = typeAt25;
  return frame;
}

TEST_F(Control, AKeyFrameIsSplitIntoItsUnits) {
  offer(keyFrame(0x65, 100));
  loop_->refresh(2);
  EXPECT_THAT(journal(), ElementsAre("decode 0 13", "decode 13 8", "decode 21 79", "clear"));
  offer(keyFrame(0x06, 100));
  loop_->refresh(2);
  EXPECT_THAT(journal(), ElementsAre("decode 0 13", "decode 13 8", "decode 30 70", "clear"));
  offer(keyFrame(0x65, 26).substr(0, 10));
  loop_->refresh(2);
  EXPECT_EQ(journal().at(2), "decode 21 4294967285");  // wraps round
}

TEST_F(Control, ADecodedPictureIsShownThenReleasedOnce) {
  auto* const picture = reinterpret_cast<CVPixelBufferRef>(std::uintptr_t{64});
  standins.whenDecoding = [&](H264HwDecoderImplDelegate& delegate) {
    delegate.displayDecodedFrame(picture);
    delegate.displayDecodedFrame(nullptr);
  };
  offer(std::string("\0\0\0\1\x61", 5));
  loop_->refresh(2);
  EXPECT_THAT(journal(), ElementsAre("decode 0 5", "show", "release", "clear"));
}

TEST_F(Control, StoppingFromInsideATickIsSafe) {
  standins.whenDecoding = [&](H264HwDecoderImplDelegate&) { view_->stopVideo(); };
  offer(std::string("\0\0\0\1\x61", 5));
  loop_->refresh(2);
  EXPECT_THAT(journal(), ElementsAre("decode 0 5", "cancel", "clear", "session gone"));
  EXPECT_EQ(loop_->linkCount(), 0U);
}

}  // namespace
}  // namespace quorvid::test
