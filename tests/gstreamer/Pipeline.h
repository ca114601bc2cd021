// Pipeline: quorvidsrc on a loopback server, and what came out of it.
#pragma once

#include <gst/gst.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/Clock.h"
#include "session/FleetServer.h"
#include "support/Eventually.h"

namespace quorvid::test {

struct Pushed {
  std::string bytes, caps;
  GstClockTime time = GST_CLOCK_TIME_NONE;
  bool isKey = false, isDiscontinuous = false;
};

class Pipeline {
 public:
  // properties: of the source. rest: what it is linked to, with a fakesink at the end.
  Pipeline(const std::string& properties, const std::string& rest) {
    const std::string text = "quorvidsrc name=src " + properties + " ! " + rest +
                             " ! fakesink name=sink sync=false signal-handoffs=true";
    GError* error = nullptr;
    pipeline_ = gst_parse_launch(text.c_str(), &error);
    if (error != nullptr) ADD_FAILURE() << error->message;
    g_clear_error(&error);
    source_ = gst_bin_get_by_name(GST_BIN(pipeline_), "src");
    GstElement* const sink = gst_bin_get_by_name(GST_BIN(pipeline_), "sink");
    g_signal_connect(sink, "handoff", G_CALLBACK(keep), this);
    gst_object_unref(sink);
  }
  // Stopping takes less than a second, whatever goes on.
  ~Pipeline() {
    set(GST_STATE_NULL);
    gst_object_unref(source_);
    gst_object_unref(pipeline_);
  }
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  GstElement* source() const { return source_; }
  GstElement* get() const { return pipeline_; }
  // Called on the streaming thread for each buffer, before it is kept.
  std::function<void()> onBuffer = [] {};

  // Doesn't wait for what downstream does asynchronously.
  GstStateChangeReturn set(GstState state) {
    const double begun = steadySeconds();
    const GstStateChangeReturn result = gst_element_set_state(pipeline_, state);
    EXPECT_LT(steadySeconds() - begun, 5) << "a state change waits";
    return result;
  }
  std::vector<Pushed> pushed() const {
    const std::lock_guard lock(mutex_);
    return pushed_;
  }
  bool waitFor(std::size_t buffers) const {
    return eventually([&] { return pushed().size() >= buffers; });
  }
  // The states told so far, and the sentences of errors.
  std::vector<std::string> messages() {
    GstBus* const bus = gst_element_get_bus(pipeline_);
    while (GstMessage* const message = gst_bus_pop(bus)) {
      if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        GError* error = nullptr;
        gst_message_parse_error(message, &error, nullptr);
        messages_.emplace_back(error->message);
        g_clear_error(&error);
      } else if (gst_message_has_name(message, "quorvid-status")) {
        const GstStructure* const told = gst_message_get_structure(message);
        messages_.emplace_back(gst_structure_get_string(told, "state"));
      }
      gst_message_unref(message);
    }
    gst_object_unref(bus);
    return messages_;
  }

 private:
  static void keep(GstElement* /*sink*/, GstBuffer* buffer, GstPad* pad, Pipeline* self) {
    self->onBuffer();
    Pushed pushed;
    pushed.bytes.resize(gst_buffer_get_size(buffer));
    gst_buffer_extract(buffer, 0, pushed.bytes.data(), pushed.bytes.size());
    pushed.time = GST_BUFFER_PTS(buffer);
    pushed.isKey = !GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
    pushed.isDiscontinuous = GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DISCONT);
    GstCaps* const caps = gst_pad_get_current_caps(pad);
    gchar* const text = gst_caps_to_string(caps);
    pushed.caps = text;
    g_free(text);
    gst_caps_unref(caps);
    const std::lock_guard lock(self->mutex_);
    self->pushed_.push_back(std::move(pushed));
  }

  GstElement* pipeline_ = nullptr;
  GstElement* source_ = nullptr;
  mutable std::mutex mutex_;  // guards what follows
  std::vector<Pushed> pushed_;
  std::vector<std::string> messages_;  // the test's thread
};

inline std::string propertiesFor(const FleetServer& server) {
  return "server=127.0.0.1:" + std::to_string(server.port()) + " device=BUS-17 stall-after=0";
}

}  // namespace quorvid::test
