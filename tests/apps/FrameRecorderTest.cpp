// What a recording does with parameter sets that no file can begin with, and at its limits.
#include "apps/quorvid/record/FrameRecorder.h"

#include <gtest/gtest.h>
#include <filesystem>
#include <fstream>

#include "apps/FakeDisk.h"
#include "apps/Recording.h"
#include "apps/common/Failure.h"

namespace quorvid::app {
namespace {

using Bytes = std::vector<std::uint8_t>;

const Bytes kSps{0x67, 0x4D, 0x40, 0x1E, 0xDA, 0x02, 0x80, 0xF6, 0x40};  // 640x480
const Bytes kPps{0x68, 0xEE, 0x3C, 0x80};

Bytes frameOf(const std::vector<Bytes>& units) {
  Bytes frame;
  for (const Bytes& unit : units) {
    frame.insert(frame.end(), {0, 0, 0, 1});
    frame.insert(frame.end(), unit.begin(), unit.end());
  }
  return frame;
}

Bytes keyFrame(const Bytes& sps, std::size_t size) {
  return frameOf({sps, kPps, Bytes(size, 0x65)});
}

class Recorded : public testing::TestWithParam<const char*> {
 protected:
  ~Recorded() override { std::remove(file_.c_str()); }

  void take(const Bytes& frame) { recorder_->take(frame.data(), frame.size(), time_ += 0.04); }
  void start(std::int64_t limit, double split = 0, bool overwrite = true) {
    recorder_ =
        std::make_unique<FrameRecorder>(RecorderOptions{file_, limit, split, overwrite, "t", "c"});
  }
  // Closes the file, which holds every frame that was taken.
  void finish() {
    recorder_->close();
    // A bare stream has no frames, only units.
    const int found = readRecording(file_).frames;
    const auto taken = static_cast<int>(recorder_->frames());
    EXPECT_TRUE(found == taken || (found > taken && file_.ends_with(".h264"))) << found << taken;
  }

  const std::string file_ =
      testing::TempDir() + "quorvid-" + std::to_string(getpid()) + "-recorder." + GetParam();
  std::unique_ptr<FrameRecorder> recorder_;
  double time_ = 0;
};

TEST_P(Recorded, BeginsWithSetsThatAFileCanBeMadeOf) {
  std::ofstream(file_) << "old";
  start(0);
  const Bytes cutShort(kSps.begin(), kSps.begin() + 5);
  take(keyFrame(cutShort, 500));
  take(keyFrame(Bytes{0x67}, 500));
  take(frameOf({Bytes(300, 0x41)}));
  EXPECT_EQ(std::filesystem::file_size(file_), 3U) << "the old file stays";
  take(keyFrame(kSps, 500));
  take(keyFrame(cutShort, 500));
  take(frameOf({Bytes(300, 0x41)}));
  take(keyFrame(kSps, 500));
  EXPECT_EQ(recorder_->refused(), 3U);
  EXPECT_EQ(recorder_->frames(), 2U);
  finish();
}

TEST_P(Recorded, NeverGetsLargerThanItsLimit) {
  // As a camera sends them; nothing but tiny key frames; units that grow when a file takes them.
  Bytes growing = frameOf({Bytes(30, 0x41)});
  for (int i = 0; i < 200; ++i) growing.insert(growing.end(), {0, 0, 1, 0x41});
  for (const auto& [others, everyKey] : {std::pair{frameOf({Bytes(900, 0x41)}), 25},
                                         std::pair{Bytes(), 1}, std::pair{growing, 1000}}) {
    for (const std::int64_t limit : {64 << 10, 150'001}) {
      start(limit);
      for (int i = 0; i < 20'000 && recorder_->full() == FrameRecorder::Full::No; ++i) {
        take(i % everyKey == 0 ? keyFrame(kSps, 30) : others);
      }
      EXPECT_EQ(recorder_->full(), FrameRecorder::Full::Limit);
      finish();
      const auto size = static_cast<std::int64_t>(std::filesystem::file_size(file_));
      EXPECT_LE(size, limit);
      EXPECT_GT(size, limit / 3) << everyKey;
    }
  }
}

TEST_P(Recorded, LeavesRoomOnTheDisk) {
  start(0);
  freeBlocks = 65'536 + 400;  // 256 MiB are left alone
  for (int i = 0; i < 100 && recorder_->full() == FrameRecorder::Full::No; ++i) {
    take(keyFrame(kSps, 100'000));
    freeBlocks -= 25;
  }
  freeBlocks = 1'000'000;
  EXPECT_EQ(recorder_->full(), FrameRecorder::Full::Disk);
  EXPECT_GT(recorder_->frames(), 5U);
  finish();
}

std::string contentOf(const std::string& fileName) {
  std::ifstream file(fileName);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST_P(Recorded, HoldsEveryFrameInPiecesThatBeginWithKeyFrames) {
  start(0, 1, false);
  Bytes sent;
  for (int i = 0; i < 100; ++i) {
    Bytes frame = i % 15 == 0 ? keyFrame(kSps, 300) : frameOf({Bytes(100, 0x41)});
    frame.back() = static_cast<std::uint8_t>(i);
    take(frame);
    sent.insert(sent.end(), frame.begin(), frame.end());
  }
  recorder_->close();
  EXPECT_EQ(recorder_->files().size(), 4U) << "a key frame every 0.6 s: pieces of 1.2 s";
  int frames = 0;
  std::string bytes;
  for (const std::string& file : recorder_->files()) {
    const Recording piece = readRecording(file);
    EXPECT_TRUE(piece.beginsWithKey) << file;
    frames += piece.frames;
    bytes += contentOf(file);
    std::remove(file.c_str());
  }
  const bool isBare = file_.ends_with(".h264");
  EXPECT_TRUE(isBare ? bytes == std::string(sent.begin(), sent.end()) : frames == 100) << frames;
}

TEST_P(Recorded, DoesNotTakeThePlaceOfAFileThatCameMeanwhile) {
  start(0, 0, false);
  std::ofstream(file_) << "old";
  EXPECT_THROW(take(keyFrame(kSps, 500)), Failure);
  EXPECT_EQ(contentOf(file_), "old");
}

TEST_P(Recorded, SaysThatTheDiskTakesNoMore) {
  std::filesystem::create_symlink("/dev/full", file_);
  start(0);
  try {
    for (int i = 0; i < 100; ++i) take(keyFrame(kSps, 100'000));
    ADD_FAILURE() << "written where nothing can be";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.what(), "can't write " + file_ + ": No space left on device");
  }
}

INSTANTIATE_TEST_SUITE_P(As, Recorded, testing::Values("mp4", "mkv", "h264"),
                         [](const auto& ending) { return std::string(ending.param); });

}  // namespace
}  // namespace quorvid::app
