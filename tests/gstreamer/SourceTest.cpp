#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>

#include "gstreamer/Pipeline.h"
#include "support/H264TestStream.h"

namespace quorvid::test {
namespace {

constexpr int kFrames = 4;  // a group

std::vector<std::string> groupOf(const H264TestStream& stream) {
  std::vector<std::string> frames;
  for (std::size_t i = 0; i < stream.frames.size(); ++i) {
    const auto bytes = stream.frameBytes(i, true);
    frames.emplace_back(bytes.begin(), bytes.end());
  }
  return frames;
}

const H264TestStream& stream() {
  static const H264TestStream kStream = [] {
    TestStreamOptions options;
    options.frames = options.keyInterval = kFrames;
    options.draw = [](TestPicture& picture, int) { fillTestPicture(picture, 110, 90, 180); };
    return encodeTestStream(options);
  }();
  return kStream;
}

const H264TestStream& smallStream() {
  static const H264TestStream kStream = [] {
    TestStreamOptions options;
    options.width = 320;
    options.height = 240;
    options.frames = options.keyInterval = kFrames;
    return encodeTestStream(options);
  }();
  return kStream;
}

// Groups until the client leaves, or so many, with a pause behind each frame.
FleetServer::Script groups(int most = 1 << 20, double pause = 0.005) {
  return [=, frames = groupOf(stream())](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    for (int i = 0; i < most * kFrames; ++i) {
      if (!client.sendVideo(frames[i % kFrames])) return;
      sleepForTimeInterval(pause);
    }
  };
}

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// Without the zeros that fill a set's place in a frame.
std::string hexOf(const std::vector<std::uint8_t>& set) {
  std::string text;
  for (const std::uint8_t byte : set) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  while (text.ends_with("00")) text.resize(text.size() - 2);
  return text;
}

class GstSource : public testing::Test {
 protected:
  static void SetUpTestSuite() { gst_init(nullptr, nullptr); }
};

TEST_F(GstSource, GivesBothFormsAndNewCapsWithANewSize) {
  const std::vector<std::string> large = groupOf(stream()), small = groupOf(smallStream());
  const FleetServer server([&](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    for (const auto* frames : {&large, &small}) {
      for (const std::string& frame : *frames) client.sendVideo(frame);
    }
    client.waitForClose();
  });
  Pipeline bytes(propertiesFor(server), "identity"),
      avc(propertiesFor(server), "video/x-h264,stream-format=avc");
  for (Pipeline* it : {&bytes, &avc}) {
    ASSERT_NE(it->set(GST_STATE_PLAYING), GST_STATE_CHANGE_FAILURE);
    ASSERT_TRUE(it->waitFor(2 * kFrames));
    const std::vector<Pushed> pushed = it->pushed();
    for (int i = 0; i < 2 * kFrames; ++i) {
      const bool isSmall = i >= kFrames;
      EXPECT_EQ(pushed[i].isKey, i % kFrames == 0) << i;
      EXPECT_EQ(pushed[i].isDiscontinuous, i == 0) << i;
      EXPECT_TRUE(has(pushed[i].caps, isSmall ? "width=(int)320, height=(int)240"
                                              : "width=(int)640, height=(int)480"))
          << pushed[i].caps;
      EXPECT_TRUE(has(pushed[i].caps, "alignment=(string)au")) << pushed[i].caps;
      EXPECT_TRUE(has(pushed[i].caps, "profile=(string)")) << pushed[i].caps;
      EXPECT_TRUE(has(pushed[i].caps, "level=(string)")) << pushed[i].caps;
      if (it == &bytes) {
        EXPECT_EQ(pushed[i].bytes, (isSmall ? small : large)[i % kFrames]) << i;
        EXPECT_TRUE(has(pushed[i].caps, "stream-format=(string)byte-stream"));
        continue;
      }
      const H264TestStream& from = isSmall ? smallStream() : stream();
      const auto& slice = from.frames[i % kFrames].slice;
      const std::size_t length = slice.size();
      const std::string expected{char(length >> 24), char(length >> 16), char(length >> 8),
                                 char(length)};
      const std::string tail = expected + std::string(slice.begin(), slice.end());
      EXPECT_TRUE(pushed[i].bytes.ends_with(tail)) << i;
      EXPECT_EQ(pushed[i].bytes.size(), tail.size() + (i % kFrames == 0 ? 9 : 0)) << "but for SEI";
      EXPECT_TRUE(has(pushed[i].caps, hexOf(from.sps) + "01")) << pushed[i].caps;
      EXPECT_TRUE(has(pushed[i].caps, hexOf(from.pps))) << pushed[i].caps;
    }
  }
}

// The first buffer is held until all frames have come, and much longer.
TEST_F(GstSource, StampsFramesWithTheirArrivalHoweverLateTheyAreTaken) {
  const FleetServer server([frames = groupOf(stream())](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    for (const std::string& frame : frames) client.sendVideo(frame);
    client.waitForClose();
  });
  Pipeline pipeline(propertiesFor(server), "identity");
  GstClockTime arrived = 0;
  pipeline.onBuffer = [&] {
    if (arrived != 0) return;
    eventually([&] {
      GstStructure* figures = nullptr;
      g_object_get(pipeline.source(), "figures", &figures, nullptr);
      guint64 received = 0;
      gst_structure_get_uint64(figures, "received", &received);
      gst_structure_free(figures);
      return received == kFrames;
    });
    arrived = gst_element_get_current_running_time(pipeline.source());
    sleepForTimeInterval(0.5);
  };
  pipeline.set(GST_STATE_PLAYING);
  ASSERT_TRUE(pipeline.waitFor(kFrames));
  GstClockTime last = 0;
  for (const Pushed& pushed : pipeline.pushed()) {
    EXPECT_GE(pushed.time, last);
    EXPECT_LE(pushed.time, arrived);
    last = pushed.time;
  }

  GstQuery* const latency = gst_query_new_latency();
  ASSERT_TRUE(gst_element_query(pipeline.source(), latency));
  gboolean isLive = FALSE;
  GstClockTime least = GST_CLOCK_TIME_NONE, most = 0;
  gst_query_parse_latency(latency, &isLive, &least, &most);
  gst_query_unref(latency);
  EXPECT_TRUE(isLive);
  EXPECT_LT(least, GST_SECOND);
  EXPECT_GT(most, GST_SECOND);
  EXPECT_FALSE(gst_element_seek_simple(pipeline.get(), GST_FORMAT_TIME, GST_SEEK_FLAG_FLUSH, 0));
}

std::ptrdiff_t threads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return std::distance(begin(tasks), end(tasks));
}

TEST_F(GstSource, EndsItsConnectionInPauseAndItsThreadsWithTheStream) {
  const FleetServer server(groups());
  const auto idle = threads();
  {
    Pipeline pipeline(propertiesFor(server), "identity");
    for (int i = 0; i < 3; ++i) {
      pipeline.set(GST_STATE_PLAYING);
      const std::size_t before = pipeline.pushed().size();
      ASSERT_TRUE(pipeline.waitFor(before + kFrames));
      EXPECT_TRUE(pipeline.pushed()[before].isDiscontinuous);
      EXPECT_TRUE(pipeline.pushed()[before].isKey);
      pipeline.set(GST_STATE_PAUSED);
      EXPECT_TRUE(eventually([&] { return server.clientsNow() == 0; }));
    }
    EXPECT_EQ(server.clientsSoFar(), 3);
  }
  // One of GLib's own may wait for further work.
  EXPECT_TRUE(eventually([&] { return threads() <= idle + 1; }));
}

TEST_F(GstSource, BearsAnyOrderOfStates) {
  const FleetServer server(groups());
  Pipeline pipeline(propertiesFor(server), "video/x-h264,stream-format=avc");
  std::mt19937 random(7);
  for (const double end = steadySeconds() + 3; steadySeconds() < end;) {
    pipeline.set(static_cast<GstState>(GST_STATE_NULL + random() % 4));
    if (random() % 2 == 0) sleepForTimeInterval(static_cast<double>(random() % 40) / 1000);
  }
  pipeline.set(GST_STATE_NULL);
  const std::size_t before = pipeline.pushed().size();
  pipeline.set(GST_STATE_PLAYING);
  EXPECT_TRUE(pipeline.waitFor(before + kFrames)) << "it still plays";
  for (const std::string& message : pipeline.messages()) {
    EXPECT_FALSE(has(message, "rror")) << message;
  }
}

TEST_F(GstSource, TellsThatTheServerIsGoneAndGoesOnWhenItIsBack) {
  const FleetServer server(groups(2));
  Pipeline pipeline(propertiesFor(server), "identity");
  pipeline.set(GST_STATE_PLAYING);
  ASSERT_TRUE(pipeline.waitFor(3 * kFrames));  // of the second connection
  EXPECT_TRUE(pipeline.pushed()[2 * kFrames].isDiscontinuous);
  EXPECT_TRUE(eventually([&] {
    const std::vector<std::string> states = pipeline.messages();
    const auto lost = std::find(states.begin(), states.end(), "reconnecting");
    return std::find(states.begin(), lost, "live") != lost && lost != states.end() &&
           std::find(lost, states.end(), "live") != states.end();
  }));
}

TEST_F(GstSource, RefusesWhatCantBePlayedWithASentence) {
  const std::string open = testing::TempDir() + "quorvid-open-password";
  std::ofstream(open) << "secret\n";
  chmod(open.c_str(), 0644);
  const std::string at = "device=BUS-17 server=127.0.0.1:9 ";
  const std::vector<std::pair<std::string, std::string>> cases{
      {"device=BUS-17", "no server is given"},
      {"server=127.0.0.1:9", "no device is given"},
      {"device=BUS-17 server=127.0.0.1", "HOST:PORT"},
      {"device=BUS-17 server=127.0.0.1:70000", "1 to 65535"},
      {at + "password-file=" + open, "open to other users"},
      {at + "password-file=/nonexistent/file", "can't be read"},
      {at + "path=car account=" + std::string(40, 'x'), "account"},
      {"server=127.0.0.1:9 device=" + std::string(40, 'x'), "31 characters"}};
  for (const auto& [properties, sentence] : cases) {
    Pipeline pipeline(properties, "identity");
    EXPECT_EQ(pipeline.set(GST_STATE_PLAYING), GST_STATE_CHANGE_FAILURE) << properties;
    std::string all;
    for (const std::string& message : pipeline.messages()) all += message + '\n';
    EXPECT_TRUE(has(all, sentence)) << all;
  }
  std::filesystem::remove(open);
}

}  // namespace
}  // namespace quorvid::test
