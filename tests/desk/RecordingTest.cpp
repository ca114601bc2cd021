// What a recording's files hold: over splits, changes and losses, a full disk and a sudden end.
#include "apps/desk/recording/Recording.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <future>
#include <stdexcept>

#include "apps/FakeDisk.h"
#include "apps/Recording.h"
#include "apps/desk/recording/FileNames.h"
#include "sim/SimProcess.h"

namespace quorvid::desk {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

const Bytes kSps{0x67, 0x4D, 0x40, 0x1E, 0xDA, 0x02, 0x80, 0xF6, 0x40};  // 640x480
const Bytes kPps{0x68, 0xEE, 0x3C, 0x80};
const Bytes kOtherPps{0x68, 0xEE, 0x38, 0x80};

Bytes frameOf(const std::vector<Bytes>& units) {
  Bytes frame;
  for (const Bytes& unit : units) {
    frame.insert(frame.end(), {0, 0, 0, 1});
    frame.insert(frame.end(), unit.begin(), unit.end());
  }
  return frame;
}

class Recorded : public testing::Test {
 protected:
  ~Recorded() override { fs::remove_all(folder_); }

  FileOptions options(double seconds) const { return {folder_, "BUS-7-ch1", seconds, "Bus 7"}; }
  void take(FrameFiles& files, const Bytes& bytes, bool continues = true) {
    PlayedFrame frame;
    frame.bytes = std::shared_ptr<const std::uint8_t>(new std::uint8_t[bytes.size()],
                                                      std::default_delete<std::uint8_t[]>());
    std::copy(bytes.begin(), bytes.end(), const_cast<std::uint8_t*>(frame.bytes.get()));
    frame.size = bytes.size();
    frame.arrival = time_ += 0.04;
    frame.continues = continues;
    frame.width = 640;
    frame.height = 480;
    files.take(frame);
  }
  // Frames of each file, all of which begin with a key frame.
  static std::vector<int> framesIn(const std::vector<std::string>& files) {
    std::vector<int> frames;
    for (const std::string& file : files) {
      const ::Recording piece = readRecording(file);
      EXPECT_TRUE(piece.beginsWithKey) << file;
      frames.push_back(piece.frames);
    }
    return frames;
  }

  const std::string folder_ = testing::TempDir() + "desk-" + std::to_string(getpid());
  const Bytes key_ = frameOf({kSps, kPps, Bytes(300, 0x65)});
  const Bytes other_ = frameOf({Bytes(100, 0x41)});
  double time_ = 0;
};

TEST_F(Recorded, EachFrameIsInOneOfItsFiles) {
  FrameFiles files(options(1));
  take(files, other_);  // nothing to begin with
  for (int i = 0; i < 60; ++i) take(files, i % 15 == 0 ? key_ : other_);
  // Other parameter sets; then the same ones in a frame of their own.
  take(files, frameOf({kSps, kOtherPps, Bytes(300, 0x65)}));
  take(files, other_);
  take(files, frameOf({kSps, kOtherPps}));
  take(files, frameOf({Bytes(300, 0x65)}));
  // Lost ones: up to the next key frame nothing can be shown.
  take(files, other_, false);
  EXPECT_TRUE(files.isWaiting());
  take(files, key_);
  files.close();
  EXPECT_EQ(framesIn(files.files()), (std::vector{30, 30, 3, 1}));
  EXPECT_EQ(files.frames(), 64U);
}

TEST_F(Recorded, NoFileBeginsWithSetsOfWhichNoneCanBeMade) {
  FrameFiles files(options(0));
  Bytes endless = frameOf({kSps});
  endless.insert(endless.end(), 70'000, 0x55);
  for (const Bytes& hostile :
       {frameOf({{0x67}, {0x68}, Bytes(300, 0x65)}), frameOf({}), endless, Bytes(70'000, 0),
        Bytes{0, 0, 1}, frameOf({Bytes(300, 0x65)}), frameOf({kPps, Bytes(300, 0x65)})}) {
    take(files, hostile);
  }
  EXPECT_TRUE(files.files().empty());
  take(files, key_);
  EXPECT_EQ(files.files().size(), 1U);
}

TEST_F(Recorded, EndsWithASentenceBeforeTheDiskIsFull) {
  FrameFiles files(options(0));
  freeBlocks = 65'536 + 400;  // 256 MiB are left alone
  const Bytes large = frameOf({kSps, kPps, Bytes(100'000, 0x65)});
  int taken = 0;
  EXPECT_THROW(
      for (; taken < 100; ++taken) {
        take(files, large);
        freeBlocks -= 25;
      },
      std::runtime_error);
  files.close();
  EXPECT_GT(taken, 5);
  EXPECT_EQ(framesIn(files.files()), std::vector{taken});
}

TEST_F(Recorded, FromAServerWithEachSizeInAFileOfItsOwn) {
  SimProcess simulator({"--size", "320x240", "--resize", "640x480", "--fps", "100", "--gop", "10",
                        "--seconds", "1"});
  const LiveTarget target{LivePath::Fleet, "127.0.0.1", simulator.port("fleet"), "a", "", "BUS-7"};
  std::promise<RecordingEnd> told;
  const auto recording = desk::Recording::begin(
      target, options(0), [&](RecordingEnd end) { told.set_value(std::move(end)); });
  eventually([&] { return recording->state().seconds > 1.2; });
  EXPECT_EQ(recording->state().trouble, "");
  recording->end();
  EXPECT_TRUE(recording->awaitEnd(60));
  const RecordingEnd end = told.get_future().get();
  EXPECT_EQ(end.trouble, "");
  ASSERT_GE(end.files.size(), 3U);
  std::uint64_t frames = 0;
  for (std::size_t i = 0; i < end.files.size(); ++i) {
    const ::Recording piece = readRecording(end.files[i]);
    EXPECT_TRUE(piece.beginsWithKey);
    EXPECT_EQ(piece.width, i % 2 == 0 ? 320 : 640);
    EXPECT_TRUE(piece.frames == 50 || i + 1 == end.files.size()) << "half of the loop";
    frames += static_cast<std::uint64_t>(piece.frames);
  }
  EXPECT_EQ(frames, end.frames);
}

TEST_F(Recorded, AKilledProgramLeavesWhatCame) {
  SimProcess simulator({"--size", "320x240", "--fps", "100", "--gop", "10"});
  const LiveTarget target{LivePath::Fleet, "127.0.0.1", simulator.port("fleet"), "a", "", "BUS-7"};
  const pid_t child = fork();
  if (child == 0) {
    const auto recording = desk::Recording::begin(target, options(0), [](const RecordingEnd&) {});
    for (;;) pause();
  }
  const auto file = [this] {
    const fs::directory_iterator found(folder_, *std::make_unique<std::error_code>());
    return found == fs::directory_iterator() ? std::string() : found->path().string();
  };
  eventually([&] { return !file().empty() && readRecording(file()).frames >= 20; });
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_GE(readRecording(file()).frames, 20);
}

TEST(FileName, IsOneInTheFolderWhateverTheDeviceIsCalled) {
  EXPECT_EQ(fileStem({"BUS-7", 0}), "BUS-7-ch1");
  for (const char* const device :
       {"", "..", "../../etc/x", "-rf", "a\nb\x1b[2J", "\xff\xfe/", "\\"}) {
    const std::string stem = fileStem({device, 7});
    EXPECT_EQ(stem.find_first_of("/\\\n\x1b"), stem.npos);
    EXPECT_TRUE(stem.front() != '.' && stem.front() != '-') << stem;
    EXPECT_EQ(timeInName(stem + "-20260131T235959Z.mp4"), 1769903999) << stem;
  }
  EXPECT_LE(fileStem({std::string(5000, 'x'), 0}).size(), 80U);
  EXPECT_EQ(timeInName("BUS-ch1-20260131T235959Z-12.png"), 1769903999);
  for (const char* const other :
       {"", ".mp4", "Z.mp4", "-Z.mp4", "film.mp4", "a-20260131T235959Z.mp4",
        "a-ch1-20261331T235959Z.mp4", "a-ch1-20260131T235959Z.txt"}) {
    EXPECT_EQ(timeInName(other), std::nullopt) << other;
  }
}

}  // namespace
}  // namespace quorvid::desk
