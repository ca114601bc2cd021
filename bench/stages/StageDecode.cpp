// Decoding: frames of a 1280x960 stream, from the unit to the picture that a view gets, and by
// libavcodec alone.
#include <benchmark/benchmark.h>

#include <cstring>

#include "bench/limits/BareDecoder.h"
#include "bench/stages/StageData.h"
#include "h264/Units.h"
#include "quorvid/base/Log.h"
#include "quorvid/decoder/H264HwDecoderImpl.h"

namespace quorvid::bench {
namespace {

constexpr std::size_t kFrames = 60;

const std::vector<std::vector<std::uint8_t>>& loop() {
  static const auto frames = encodedLoop(1280, 960, kFrames);
  return frames;
}

void tell(benchmark::State& state, std::size_t pictures) {
  if (pictures < kFrames) state.SkipWithError("pictures are missing");
  state.SetItemsProcessed(static_cast<std::int64_t>(pictures));
}

class Receiver : public H264HwDecoderImplDelegate {
 public:
  void displayDecodedFrame(CVPixelBufferRef picture) override {
    if (picture != nullptr) ++pictures;
    CVPixelBufferRelease(picture);
  }
  std::size_t pictures = 0;
};

struct Call {
  char* unit;
  std::uint32_t size;
};

// As the view cuts a frame: its parameter sets, each by itself, and the rest.
std::vector<Call> callsFor(std::vector<std::uint8_t>& frame) {
  std::vector<Call> calls;
  for (const h264::Unit& unit : h264::unitsOf(frame)) {
    calls.push_back({reinterpret_cast<char*>(frame.data() + unit.startCode),
                     static_cast<std::uint32_t>(unit.end - unit.startCode)});
  }
  return calls;
}

// The decoder leaves a length where the start code was.
void restore(const Call& call) {
  constexpr char kStartCode[] = {0, 0, 0, 1};
  std::memcpy(call.unit, kStartCode, sizeof kStartCode);
}

void decodeOurs(benchmark::State& state) {
  setLogSink([](std::string_view) {});
  auto frames = loop();
  std::vector<Call> calls;
  for (auto& frame : frames) {
    for (const Call& call : callsFor(frame)) calls.push_back(call);
  }
  const auto decoder = H264HwDecoderImpl::init();
  const auto receiver = std::make_shared<Receiver>();
  decoder->setDelegate(receiver);
  while (state.KeepRunning()) {
    for (const Call& call : calls) {
      decoder->decodeNalu(call.unit, call.size);
      restore(call);
    }
  }
  tell(state, receiver->pictures);
}

void decodeLimit(benchmark::State& state) {
  auto frames = loop();
  for (auto& frame : frames) frame.resize(frame.size() + BareDecoder::kPadding);
  BareDecoder decoder;
  std::size_t pictures = 0;
  while (state.KeepRunning()) {
    for (auto& frame : frames) {
      if (decoder.decode(frame.data(), frame.size() - BareDecoder::kPadding) != nullptr) ++pictures;
    }
  }
  tell(state, pictures);
}

BENCHMARK(decodeOurs)->Name("decode 1280x960/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(decodeLimit)->Name("decode 1280x960/limit")->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quorvid::bench
