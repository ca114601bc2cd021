// soak_pipelines: GStreamer pipelines with the element quorvidsrc, which ends in a sink. Each is
// made anew for each server, and stopped and set to play again where nothing comes. Arguments and
// log: soak/Course.h.
#include <gst/gst.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/Clock.h"
#include "live/StallWatch.h"
#include "soak/Members.h"

namespace {

using quorvid::steadySeconds;

constexpr double kTurn = 0.01;  // seconds
constexpr double kStallAfter = 5;
constexpr const char* kPaths[] = {"fleet", "car", "relay"};

class Member {
 public:
  explicit Member(soak::Course& course) : course_(course), watch_(kStallAfter, 0) {}
  ~Member() { rest(); }
  Member(const Member&) = delete;
  Member& operator=(const Member&) = delete;

  void play(const soak::Draw& draw) {
    rest();
    const std::string text = std::string("quorvidsrc path=") + kPaths[draw.path] +
                             " server=127.0.0.1:" + std::to_string(draw.port) +
                             " channel=" + std::to_string(draw.channel) +
                             " device=TRUCK-7 stall-after=0 ! "
                             "fakesink name=sink sync=false signal-handoffs=true";
    pipeline_ = gst_parse_launch(text.c_str(), nullptr);
    if (pipeline_ == nullptr) {
      std::fprintf(stderr, "no pipeline with quorvidsrc could be made\n");
      std::exit(2);
    }
    GstElement* const sink = gst_bin_get_by_name(GST_BIN(pipeline_), "sink");
    g_signal_connect(sink, "handoff", G_CALLBACK(taken), this);
    gst_object_unref(sink);
    moveAt_ = steadySeconds() + draw.stay;
    start();
  }
  void look() {
    if (pipeline_ == nullptr) return;
    const double now = steadySeconds();
    if (seen_ != taken_) watch_.pictureArrived(now);
    seen_ = taken_;
    if (now >= moveAt_) {
      play(course_.draw(false));
    } else if (watch_.restartDue(now)) {
      ++counts_.restarts;
      gst_element_set_state(pipeline_, GST_STATE_NULL);
      start();
    }
  }
  void rest() {
    if (pipeline_ == nullptr) return;
    gst_element_set_state(pipeline_, GST_STATE_NULL);
    gst_object_unref(pipeline_);
    pipeline_ = nullptr;
  }
  soak::Counts counts() {
    soak::Counts counts = counts_;
    counts.pictures = taken_;
    counts.lag = lag_.exchange(-1);
    return counts;
  }

 private:
  void start() {
    ++counts_.starts;
    watch_ = quorvid::StallWatch(kStallAfter, steadySeconds());
    gst_element_set_state(pipeline_, GST_STATE_PLAYING);
  }
  // On the streaming thread. The time of a buffer is that of its arrival.
  static void taken(GstElement* sink, GstBuffer* buffer, GstPad* /*pad*/, Member* self) {
    ++self->taken_;
    const GstClockTime now = gst_element_get_current_running_time(sink);
    if (!GST_CLOCK_TIME_IS_VALID(now) || !GST_BUFFER_PTS_IS_VALID(buffer)) return;
    self->lag_ = static_cast<double>(GST_CLOCK_DIFF(GST_BUFFER_PTS(buffer), now)) / GST_SECOND;
  }

  soak::Course& course_;
  quorvid::StallWatch watch_;
  GstElement* pipeline_ = nullptr;
  soak::Counts counts_;
  std::atomic<unsigned long> taken_ = 0;
  std::atomic<double> lag_ = -1;
  unsigned long seen_ = 0;
  double moveAt_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  gst_init(nullptr, nullptr);
  g_thread_pool_set_max_unused_threads(0);  // a thread that waits for work would count at rest
  soak::Course course(argc, argv);
  std::vector<std::unique_ptr<Member>> members;
  members.reserve(static_cast<std::size_t>(course.members()));
  for (int i = 0; i < course.members(); ++i) members.push_back(std::make_unique<Member>(course));
  soak::Members<Member> pipelines(course, kTurn, std::move(members));
  course.run(pipelines);
}
