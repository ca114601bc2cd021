#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "sim/media/FileSource.h"
#include "sim/media/LoopStore.h"
#include "sim/media/MediaLoop.h"

namespace quorvid::sim {
namespace {

// The encoder's remarks are no test results.
[[maybe_unused]] const bool kQuiet = (av_log_set_level(AV_LOG_QUIET), true);

// Pictures that no encoder can make small.
class Noise final : public PictureSource {
 public:
  Noise(int width, int height, int count) : picture_(newPicture(width, height)), count_(count) {}

  AVFrame* next() override {
    if (index_++ == count_) return nullptr;
    av_frame_make_writable(picture_.get());
    const int bytes = picture_->linesize[0] * picture_->height;
    for (int i = 0; i < bytes; ++i) picture_->data[0][i] = static_cast<std::uint8_t>(random_());
    return picture_.get();
  }
  void rewind() override { index_ = 0; }
  AVRational rate() const override { return {25, 1}; }

 private:
  FramePtr picture_;
  int count_;
  int index_ = 0;
  std::minstd_rand random_;
};

TEST(MediaLoop, StartsAnewWithLessUntilEveryFrameFitsTheWire) {
  EncoderSettings settings;
  settings.width = 1920;
  settings.height = 1088;
  settings.bitrate = 100'000'000;
  settings.gop = 2;
  const auto loop = std::make_shared<MediaLoop>(settings, 100);
  LoopCursor early(loop);
  EXPECT_EQ(early.next(), nullptr);

  Noise noise(settings.width, settings.height, 3);
  loop->encode(noise, std::atomic<bool>{false});

  ASSERT_EQ(loop->failure(), "");
  ASSERT_EQ(loop->length(), std::size_t{3});
  EXPECT_GT(loop->look(0).generation, 0u) << "nothing was too large: the test shows nothing";
  // Over the loop's end and on; the frames of a first try are never seen.
  for (const bool key : {true, false, true, true, false}) {
    const auto frame = early.next();
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->key, key);
    EXPECT_LE(frame->bytes.size(), kMaxFrameBytes);
  }
}

TEST(LoopCache, TakesAWholeLoopThatThisBuildMadeAndNoOther) {
  namespace fs = std::filesystem;
  Options options;
  options.loopSeconds = 0.2;
  options.cache = testing::TempDir() + "quorvid-loops-" + std::to_string(getpid());
  const auto lastFrame = [&options] {
    LoopStore store(options);
    const auto loop = store.loopFor("A", 0);
    while (!loop->length() && loop->failure().empty()) usleep(1000);
    return loop->frames().back().bytes;
  };
  const Bytes made = lastFrame();
  const fs::path file = *fs::directory_iterator(options.cache);
  std::string kept(fs::file_size(file), '\0');
  std::ifstream(file, std::ios::binary).read(kept.data(), static_cast<long>(kept.size()));
  const auto write = [&file](const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
  };
  kept[kept.size() - 5] ^= 1;  // the last frame's last byte: what is taken shows it
  write(kept);
  EXPECT_NE(lastFrame(), made);
  for (const std::string& wrong : {kept.substr(0, kept.size() - 4), "x" + kept}) {
    write(wrong);  // cut short, or another build's: encoded anew
    EXPECT_EQ(lastFrame(), made);
    EXPECT_EQ(fs::file_size(file), kept.size());
  }
  fs::remove_all(options.cache);
}

// A film of ten pictures a second, each of one colour. Its luma counts up from `y`.
class Film {
 public:
  Film(int pictures, int y, int cb, int cr) {
    std::ofstream out(path_, std::ios::binary);
    out << "YUV4MPEG2 W64 H48 F10:1 Ip A1:1 C420mpeg2\n";
    for (int i = 0; i < pictures; ++i) {
      out << "FRAME\n" << std::string(64 * 48, static_cast<char>(y + i));
      out << std::string(32 * 24, static_cast<char>(cb))
          << std::string(32 * 24, static_cast<char>(cr));
    }
  }
  ~Film() { std::filesystem::remove(path_); }
  const std::string& path() const { return path_; }

 private:
  std::string path_ = testing::TempDir() + "quorvid-film-" + std::to_string(getpid()) + ".y4m";
};

std::vector<int> lumaOfAll(FileSource& source) {
  std::vector<int> values;
  while (const AVFrame* picture = source.next()) values.push_back(picture->data[0][0]);
  return values;
}

TEST(FileSource, KeepsOrChangesTheRate) {
  const std::atomic<bool> go{false};
  const Film film(4, 100, 128, 128);
  FileSource own(film.path(), 96, 96, std::nullopt, go);
  EXPECT_EQ(av_q2d(own.rate()), 10);
  const std::vector<int> each{100, 101, 102, 103};
  EXPECT_EQ(lumaOfAll(own), each);
  own.rewind();
  EXPECT_EQ(lumaOfAll(own), each);
  const std::pair<int, std::vector<int>> rates[] = {
      {20, {100, 100, 101, 101, 102, 102, 103, 103}}, {7, {100, 101, 103}}, {5, {100, 102}}};
  for (const auto& [rate, nearest] : rates) {
    FileSource other(film.path(), 96, 96, AVRational{rate, 1}, go);
    EXPECT_EQ(lumaOfAll(other), nearest) << rate;
  }
}

TEST(FileSource, TurnsColoursIntoTheMatrixOfTheSize) {
  const std::atomic<bool> go{false};
  const Film red(1, 81, 90, 240);  // pure red in ITU-R 601
  FileSource small(red.path(), 640, 576, std::nullopt, go);
  const AVFrame* same = small.next();
  EXPECT_NEAR(same->data[0][999], 81, 1);
  EXPECT_NEAR(same->data[1][999], 90, 1);
  FileSource large(red.path(), 640, 592, std::nullopt, go);
  const AVFrame* other = large.next();
  EXPECT_NEAR(other->data[0][999], 63, 2);  // and in ITU-R 709
  EXPECT_NEAR(other->data[1][999], 102, 2);
  EXPECT_NEAR(other->data[2][999], 240, 2);
}

}  // namespace
}  // namespace quorvid::sim
