#include "live/FrameQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "base/Clock.h"

namespace quorvid {
namespace {

// header: of the only unit; 0x65 an IDR slice, 0x41 a slice that others refer to, 0x01 one of which
// nothing depends.
Frame frameOf(std::uint8_t header, std::size_t size = 100, double arrival = steadySeconds()) {
  h264::Bytes bytes{0, 0, 1, header};
  bytes.resize(std::max(size, bytes.size()), 0x80);
  return makeFrame(bytes, arrival);
}

class FrameQueueTest : public ::testing::Test {
 protected:
  // The types of all that waits: K, R, n; lower case when it is not to be shown.
  std::string takeAll() {
    constexpr std::size_t kMark = 7;  // bytes of a frame that marks the end
    queue_.push(frameOf(0x65, kMark));
    std::string taken;
    for (auto frame = queue_.take(); frame && frame->bytes.size() != kMark + 1;
         frame = queue_.take()) {
      const char kind = frame->isKey ? 'K' : frame->isReference ? 'R' : 'N';
      taken += frame->isToBeShown ? kind : static_cast<char>(kind - 'A' + 'a');
    }
    return taken;
  }

  FrameQueue queue_;
};

TEST_F(FrameQueueTest, WholeGroupsGoWhereTheBoundsAreReached) {
  const std::size_t third = FrameQueue::kMostBytes / 3;
  for (const std::uint8_t header : {0x65, 0x41, 0x65}) queue_.push(frameOf(header, third));
  queue_.push(frameOf(0x41, third));
  EXPECT_EQ(queue_.lost(), 2U) << "up to the newest key frame";
  queue_.push(frameOf(0x41, third));
  EXPECT_EQ(queue_.lost(), 5U) << "the group itself is too large";
  queue_.push(frameOf(0x41));
  EXPECT_EQ(queue_.lost(), 6U) << "refers to what is gone";
  queue_.push(frameOf(0x65));
  queue_.push(frameOf(0x41));
  EXPECT_EQ(takeAll(), "KR");

  queue_.push(frameOf(0x65, 100, 10));
  queue_.push(frameOf(0x41, 100, 10.1 + FrameQueue::kMostSeconds));
  EXPECT_EQ(takeAll(), "") << "too old";

  const std::uint64_t before = queue_.lost();
  for (int i = 0; i < 50'000; ++i) queue_.push(frameOf(i == 0 ? 0x65 : 0x41, 4));
  EXPECT_GT(queue_.lost(), before) << "small frames take more memory than they have bytes";
}

TEST_F(FrameQueueTest, ALateDecoderIsSparedWhatNothingRefersTo) {
  const double longAgo = steadySeconds() - 1;
  for (const std::uint8_t header : {0x41, 0x01, 0x41}) queue_.push(frameOf(header, 100, longAgo));
  queue_.push(frameOf(0x01));
  EXPECT_EQ(takeAll(), "RRN");
  EXPECT_EQ(queue_.lost(), 1U);
  for (const std::uint8_t header : {0x41, 0x65, 0x41}) queue_.push(frameOf(header));
  queue_.skipToNewestKey();
  EXPECT_EQ(takeAll(), "KR");
}

TEST_F(FrameQueueTest, HiddenItKeepsTheLastGroupAndThenShowsItsLast) {
  queue_.push(frameOf(0x65));
  queue_.setHidden(true);
  queue_.push(frameOf(0x41));
  queue_.push(frameOf(0x65));
  queue_.push(frameOf(0x41));
  queue_.push(frameOf(0x41));
  queue_.setHidden(false);
  EXPECT_EQ(queue_.lost(), 2U);
  EXPECT_EQ(takeAll(), "krR");
  queue_.close();
  EXPECT_FALSE(queue_.take());
}

}  // namespace
}  // namespace quorvid
