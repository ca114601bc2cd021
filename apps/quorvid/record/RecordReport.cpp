#include "apps/quorvid/record/RecordReport.h"

#include <cstdio>

namespace quorvid::app {

std::string figuresOf(const FrameRecorder& recorder) {
  char text[120];
  std::snprintf(text, sizeof text, "%llu frames, %.2f s, %.2f MB, ",
                static_cast<unsigned long long>(recorder.frames()), recorder.seconds(),
                static_cast<double>(recorder.bytes()) / 1e6);
  return text + recorder.size().text();
}

std::vector<std::string> odditiesOf(const FrameRecorder& recorder) {
  std::vector<std::string> sentences;
  if (recorder.unusable() > 0) {
    sentences.push_back(std::to_string(recorder.unusable()) +
                        " frames were no H.264 and were left out");
  }
  if (recorder.refused() > 0) {
    sentences.push_back(
        std::to_string(recorder.refused()) +
        " key frames had parameter sets that no file can begin with; they were left "
        "out with the pictures behind them");
  }
  const std::string size = recorder.size().text();
  const std::string last = recorder.lastSize().text();
  if (size != last) {
    sentences.push_back("the stream changed its picture size from " + size + " to " + last +
                        "; the file begins with the first, and some players stop at the change");
  } else if (recorder.changes() > 0) {
    sentences.emplace_back("the stream changed its parameter sets; some players stop there");
  }
  return sentences;
}

std::string whyNothingWasWritten(const FrameRecorder& recorder, const std::string& limit) {
  if (recorder.full() == FrameRecorder::Full::Limit) {
    return "the first key frame doesn't fit into " + limit;
  }
  if (recorder.full() == FrameRecorder::Full::Disk) return "the disk is nearly full";
  if (recorder.refused() > 0) {
    return "no file can begin with the parameter sets of the " +
           std::to_string(recorder.refused()) + " key frames that came";
  }
  return "frames came, but no key frame with its parameter sets";
}

}  // namespace quorvid::app
