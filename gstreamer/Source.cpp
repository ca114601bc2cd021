#include "gstreamer/Source.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <string>
#include <utility>

#include "base/Clock.h"

namespace quorvid::gst {
namespace {

// Seconds until a wait looks whether it shall end. A stop ends it at once.
constexpr double kLook = 0.05;

GstClockTime nanoseconds(double seconds) {
  return static_cast<GstClockTime>(std::max(0.0, seconds) * GST_SECOND);
}

}  // namespace

bool Source::start() {
  GST_OBJECT_LOCK(element_);
  const Settings given = settings;
  GST_OBJECT_UNLOCK(element_);
  try {
    target_ = targetOf(given);
  } catch (const std::exception& error) {
    return refuse(error.what());
  }
  const Player made(quorvid_player_create_for_frames(given.stallAfter), FreeHandle());
  if (made == nullptr) return refuse("the system gives no further thread");
  quorvid_player_set_status_handler(
      made.get(),
      [](const quorvid_status* status, void* source) {
        static_cast<const Source*>(source)->post(*status);
      },
      this);
  form_ = {};
  isNegotiated_ = false;
  isDiscontinuous_ = true;
  last_ = 0;
  const std::lock_guard lock(mutex_);
  player_ = made;
  return true;
}

// No handler runs behind this.
void Source::stop() {
  Player last;
  {
    const std::lock_guard lock(mutex_);
    last.swap(player_);
  }
  if (last != nullptr) quorvid_player_set_status_handler(last.get(), nullptr, nullptr);
}

bool Source::play() {
  const Player playing = player();
  if (playing == nullptr) return false;
  const quorvid_target target = target_.view();
  if (quorvid_player_connect(playing.get(), &target) != QUORVID_OK) {
    quorvid_status status = QUORVID_STATUS_INIT;
    quorvid_player_status(playing.get(), &status);
    return refuse(status.sentence);
  }
  changed_.notify_all();
  return true;
}

void Source::pause() {
  if (const Player playing = player()) quorvid_player_stop(playing.get());
}

void Source::unlock(bool ends) {
  const std::lock_guard lock(mutex_);
  isEnding_ = ends;
  changed_.notify_all();
}

Source::Player Source::player() const {
  const std::lock_guard lock(mutex_);
  return player_;
}

bool Source::refuse(const char* sentence) const {
  GST_ELEMENT_ERROR(element_, RESOURCE, SETTINGS, ("%s", sentence), (nullptr));
  return false;
}

void Source::post(const quorvid_status& status) const {
  GstStructure* const told =
      gst_structure_new("quorvid-status", "state", G_TYPE_STRING, quorvid_state_name(status.state),
                        "reason", G_TYPE_STRING, quorvid_reason_name(status.reason), "sentence",
                        G_TYPE_STRING, status.sentence, "answer-status", G_TYPE_INT,
                        status.answer_status, "next-try", G_TYPE_DOUBLE, status.next_try, nullptr);
  gst_element_post_message(GST_ELEMENT(element_),
                           gst_message_new_element(GST_OBJECT(element_), told));
}

// Between a stop and what follows it.
void Source::waitForPlay() {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, std::chrono::duration<double>(kLook), [this] { return isEnding_; });
}

GstFlowReturn Source::create(GstBuffer** buffer) {
  for (;;) {
    Player playing;
    {
      const std::lock_guard lock(mutex_);
      if (isEnding_ || player_ == nullptr) return GST_FLOW_FLUSHING;
      playing = player_;
    }
    quorvid_frame* handle = nullptr;
    const int result = quorvid_player_wait_frame(playing.get(), kLook, &handle);
    const Frame frame(handle);
    if (frame != nullptr) {
      const GstFlowReturn flow = push(frame, buffer);
      if (flow != GST_FLOW_OK || *buffer != nullptr) return flow;
    } else if (result == QUORVID_NOT_PLAYING) {
      isDiscontinuous_ = true;
      waitForPlay();
    } else if (result != QUORVID_TIMED_OUT) {
      GST_ELEMENT_ERROR(element_, RESOURCE, NO_SPACE_LEFT,
                        ("a frame can't be had: %s", quorvid_result_name(result)), (nullptr));
      return GST_FLOW_ERROR;
    }
  }
}

// Nothing in *buffer when the frame gives none.
GstFlowReturn Source::push(const Frame& frame, GstBuffer** buffer) {
  quorvid_access_unit unit = QUORVID_ACCESS_UNIT_INIT;
  quorvid_frame_read(frame.get(), &unit);
  if (!negotiate()) return GST_FLOW_NOT_NEGOTIATED;
  isDiscontinuous_ = isDiscontinuous_ || unit.continues == 0;
  Buffer made = form_.take({unit.bytes, static_cast<std::size_t>(unit.length)});
  if (made == nullptr) return GST_FLOW_OK;
  if (form_.hasNewCaps() && !gst_base_src_set_caps(element_, form_.caps().get())) {
    return GST_FLOW_NOT_NEGOTIATED;
  }
  stamp(made.get(), unit);
  *buffer = made.release();
  return GST_FLOW_OK;
}

// Byte-stream where downstream leaves the choice, or nobody is there yet.
bool Source::negotiate() {
  if (isNegotiated_.exchange(true)) return true;
  const Caps allowed(gst_pad_get_allowed_caps(GST_BASE_SRC_PAD(element_)));
  if (allowed == nullptr) return true;
  if (gst_caps_is_empty(allowed.get())) return false;
  const std::unique_ptr<GstStructure, void (*)(GstStructure*)> wanted(
      gst_structure_copy(gst_caps_get_structure(allowed.get(), 0)), gst_structure_free);
  gst_structure_fixate_field_string(wanted.get(), "stream-format", "byte-stream");
  const char* const form = gst_structure_get_string(wanted.get(), "stream-format");
  form_.setAvc(form != nullptr && std::string(form) == "avc");
  return true;
}

// Times never go back, but where the pipeline's own did.
void Source::stamp(GstBuffer* buffer, const quorvid_access_unit& unit) {
  if (!form_.isKey()) GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
  if (std::exchange(isDiscontinuous_, false)) GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
  GST_BUFFER_OFFSET(buffer) = unit.number;
  if (!gst_base_src_get_do_timestamp(element_)) return;
  const GstClockTime now = gst_element_get_current_running_time(GST_ELEMENT(element_));
  if (!GST_CLOCK_TIME_IS_VALID(now)) return;
  const GstClockTime age = nanoseconds(steadySeconds() - unit.arrival);
  last_ = std::max(now > age ? now - age : 0, std::min(last_, now));
  GST_BUFFER_PTS(buffer) = GST_BUFFER_DTS(buffer) = last_;
}

GstStructure* Source::figures() const {
  quorvid_figures figures = QUORVID_FIGURES_INIT;
  if (const Player playing = player()) quorvid_player_figures(playing.get(), &figures);
  return gst_structure_new(
      "quorvid-figures", "received", G_TYPE_UINT64, figures.received, "bytes", G_TYPE_UINT64,
      figures.bytes, "pushed", G_TYPE_UINT64, figures.shown, "held", G_TYPE_UINT64, figures.held,
      "lost", G_TYPE_UINT64, figures.lost, "reconnections", G_TYPE_UINT64, figures.reconnections,
      "bit-rate", G_TYPE_DOUBLE, figures.bit_rate, "longest-pause", G_TYPE_DOUBLE,
      figures.longest_pause, "since-last", G_TYPE_DOUBLE, figures.since_last_picture, nullptr);
}

}  // namespace quorvid::gst
