// What a server may make a session keep and do, whatever it sends.
#include <gtest/gtest.h>

#include "base/Clock.h"
#include "live/Frame.h"
#include "live/StreamDecoder.h"
#include "support/H264TestStream.h"

namespace quorvid {
namespace {

TEST(ServerBounds, OneDecoderASecondHoweverOftenTheSizeChanges) {
  const test::H264TestStream streams[] = {
      test::encodeTestStream({.width = 320, .height = 240, .frames = 2}),
      test::encodeTestStream({.frames = 2})};
  StreamDecoder decoder;
  std::uint32_t width = 0;
  int made = 0, refused = 0;
  const double start = steadySeconds();
  for (int i = 0; i < 20; ++i) {
    Frame frame = makeFrame(streams[i % 2].frameBytes(0), steadySeconds());
    const bool isRefused = decoder.decode(frame) == StreamDecoder::Outcome::SetsTooOften;
    refused += isRefused ? 1 : 0;
    Frame later = makeFrame(streams[i % 2].frameBytes(1), steadySeconds());
    EXPECT_EQ(decoder.decode(later) == StreamDecoder::Outcome::SetsTooOften, isRefused) << i;
    made += decoder.stream()->displayedWidth() != width ? 1 : 0;
    width = decoder.stream()->displayedWidth();
  }
  EXPECT_LE(made, 1 + steadySeconds() - start);
  EXPECT_GT(refused, 0);
}

TEST(ServerBounds, APictureThatIsDrawnHasTheStreamsSizeAndIsNeverLargerThanTheOneSize) {
  for (const auto& [stream, drawn] : {std::pair{CGSize{176, 144}, CGSize{176, 144}},
                                      std::pair{CGSize{1280, 960}, CGSize{1280, 960}},
                                      std::pair{CGSize{1296, 720}, CGSize{1280, 960}},
                                      std::pair{CGSize{720, 976}, CGSize{1280, 960}}}) {
    const auto encoded = test::encodeTestStream({.width = static_cast<int>(stream.width),
                                                 .height = static_cast<int>(stream.height),
                                                 .frames = 1});
    StreamDecoder decoder;
    Frame frame = makeFrame(encoded.frameBytes(0), steadySeconds());
    ASSERT_EQ(decoder.decode(frame), StreamDecoder::Outcome::Picture) << stream.width;
    const PicturePtr picture = decoder.picture();
    EXPECT_EQ(CVPixelBufferGetWidth(picture.get()), drawn.width);
    EXPECT_EQ(CVPixelBufferGetHeight(picture.get()), drawn.height);
  }
}

// Memory that was kept is known by the room for units that it brings along.
TEST(ServerBounds, MemoryOfFewFramesIsKeptAndOfFewerLargeOnes) {
  for (const auto& [size, most] : {std::pair{64U, 16}, {131072U, 4}, {1048576U, 0}}) {
    SpareFrames spares;
    int kept = 0;
    for (int i = 0; i < 40; ++i) {
      Frame frame;
      frame.bytes.reserve(size);
      frame.units.reserve(7);
      spares.put(std::move(frame));
    }
    for (int i = 0; i < 40; ++i) kept += spares.take(size - 1).units.capacity() == 7 ? 1 : 0;
    EXPECT_EQ(kept, most) << size;
  }
}

}  // namespace
}  // namespace quorvid
