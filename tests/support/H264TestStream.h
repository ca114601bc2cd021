// H264TestStream: a drawn scene, encoded on the spot, in the layout that recorders send.
//
//   key frame    00 00 00 01 | SPS, 9 bytes | 00 00 00 01 | PPS, 4 bytes |
//                [00 00 00 01 | SEI, 5 bytes |] 00 00 00 01 | slice
//   other frame  00 00 00 01 | slice
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quorvid::test {

// Planar 4:2:0, rows without padding.
struct TestPicture {
  int width = 0, height = 0;
  std::vector<std::uint8_t> y, u, v;
};

struct TestStreamOptions {
  int width = 640, height = 480;  // multiples of 16
  int frames = 10;
  int keyInterval = 10;
  bool mainProfile = false;
  // True keeps what the encoder wrote about colours (and thereby an SPS of more than 9 bytes).
  bool keepVui = false;
  int bitRate = 2'000'000;
  std::string encoder = {};  // further settings of libx264, "name=value:..."; may ask for slices
  // Draws picture `index`; empty: drawTestScene().
  std::function<void(TestPicture& picture, int index)> draw = {};
};

struct H264TestStream {
  struct Frame {
    bool isKey = false;
    // NAL header first, no start code; further slices of the picture follow with theirs.
    std::vector<std::uint8_t> slice;
  };
  std::vector<std::uint8_t> sps, pps;  // the same
  std::vector<Frame> frames;

  // Frame `index` as a server sends it. SEI units go into key frames only.
  std::vector<std::uint8_t> frameBytes(std::size_t index, bool withSei = false) const;
};

// Aborts with a line on standard error when the encoder can't be had or gives another layout.
H264TestStream encodeTestStream(const TestStreamOptions& options = {});

// A colourful gradient with a bright square that moves by 8 pixels a picture.
void drawTestScene(TestPicture& picture, int index);
// One colour all over.
void fillTestPicture(TestPicture& picture, std::uint8_t y, std::uint8_t u, std::uint8_t v);
// What the encoder was given for picture `index`.
TestPicture drawnPicture(const TestStreamOptions& options, int index);

// A unit with a start code of 4 bytes in front.
std::vector<std::uint8_t> withStartCode(const std::vector<std::uint8_t>& unit);

}  // namespace quorvid::test
