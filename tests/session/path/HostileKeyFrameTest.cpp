#include <algorithm>
#include <random>

#include "base/Clock.h"
#include "session/path/LiveViewFixture.h"
#include "support/ExpectLog.h"

namespace quorvid::test {
namespace {

using HostileKeyFrame = LiveViewFixture;

// The first `size` bytes of a good key frame, but its first unit has the header `first`; what
// follows that is good or random.
std::string hostileFrame(std::string frame, std::size_t size, int first, std::mt19937* random) {
  frame[4] = static_cast<char>(first);
  if (random != nullptr) std::generate(frame.begin() + 5, frame.end(), std::ref(*random));
  frame.resize(size);
  if (size < 5) frame[0] = static_cast<char>(first);
  return frame;
}

// 1 to 40 bytes of every first byte, in four lots; after each lot the next good key frame must
// show. The session is made once: none of these may get it made from sets that lock out the good.
TEST_F(HostileKeyFrame, LeavesTheViewReadyForTheNextGoodOne) {
  constexpr int kLots = 4;
  const ExpectLog tooShort("refused: not between");
  const ExpectLog noSession("reset decoder session failed");
  const ExpectLog undecodable("decode failed");
  std::atomic<int> shown{0};
  std::atomic<int> repeated{0};
  FleetServer server([&](FleetClient& client) {
    const auto rust = oneColouredFrames(kRust);
    const auto teal = oneColouredFrames(kTeal, true);
    std::mt19937 random(17);
    client.readRequest();
    client.sendAnswer();
    for (int lot = 0; lot < kLots; ++lot) {
      const std::string& good = lot % 2 == 0 ? rust.front() : teal.front();
      for (int first = lot; first < 256; first += kLots) {
        for (std::size_t size = 1; size <= 40; ++size) {
          const bool isRandom = (size + static_cast<unsigned>(first) / 32) % 2 != 0;
          client.sendVideo(hostileFrame(good, size, first, isRandom ? &random : nullptr));
        }
      }
      client.sendVideo(good);
      // A consumer that stands still for half a second has its frame overwritten: once more, then.
      for (int waited = 1; shown == lot; ++waited) {
        sleepForTimeInterval(0.001);
        if (waited % 15000 == 0) {
          ++repeated;
          client.sendVideo(good);
        }
      }
    }
    client.waitForClose();
  });
  const auto view = makeView(server, CGRectMake(0, 0, 64, 48));
  view->playVideo();
  for (int lot = 0; lot < kLots; ++lot) {
    refreshUntil([&] { return shows(*view, 32, 24, lot % 2 == 0 ? kRust : kTeal); });
    ++shown;
  }
  EXPECT_EQ(server.clientsSoFar(), 1);
  EXPECT_LT(repeated, kLots);
  view->stopVideo();
}

}  // namespace
}  // namespace quorvid::test
