// quorvidsrc: the live stream of one camera as a GStreamer source, and the plugin that holds it.
// What GObject asks for is here; what the element does is gstreamer/Source.h.
#include <gst/gst.h>

#include <memory>

#include "gstreamer/Source.h"

using quorvid::gst::Source;

namespace {

struct QuorvidSrc {
  GstPushSrc parent;
  Source* source;  // owned: GObject's memory has no destructors
};
struct QuorvidSrcClass {
  GstPushSrcClass parent;
};

enum Property {
  kServer = 1,
  kPath,
  kDevice,
  kChannel,
  kAccount,
  kPasswordFile,
  kStallAfter,
  kFigures
};

// What a frame may wait for its way through the player's threads, and the oldest one that is kept.
constexpr GstClockTime kLeastLatency = 20 * GST_MSECOND;
constexpr GstClockTime kMostLatency = 12 * GST_SECOND;

constexpr const char* kCaps =
    "video/x-h264, stream-format = (string) { byte-stream, avc }, alignment = (string) au";

G_DEFINE_TYPE(QuorvidSrc, quorvid_src, GST_TYPE_PUSH_SRC)

template <class Instance>
Source& sourceOf(Instance* instance) {
  return *reinterpret_cast<QuorvidSrc*>(instance)->source;
}

GType pathType() {
  static const GEnumValue kPaths[] = {
      {QUORVID_FLEET, "From the fleet server itself", "fleet"},
      {QUORVID_CAR, "From the recorder, or what stands for it", "car"},
      {QUORVID_RELAY, "From where the server says that the recorder's stream is served", "relay"},
      {0, nullptr, nullptr}};
  static const GType kType = g_enum_register_static("QuorvidSrcPath", kPaths);
  return kType;
}

const char* textOf(const GValue* value) {
  const char* const text = g_value_get_string(value);
  return text != nullptr ? text : "";
}

void setProperty(GObject* object, guint id, const GValue* value, GParamSpec* spec) {
  GST_OBJECT_LOCK(object);
  quorvid::gst::Settings& settings = sourceOf(object).settings;
  switch (id) {
    case kServer:
      settings.server = textOf(value);
      break;
    case kPath:
      settings.path = g_value_get_enum(value);
      break;
    case kDevice:
      settings.device = textOf(value);
      break;
    case kChannel:
      settings.channel = g_value_get_int(value);
      break;
    case kAccount:
      settings.account = textOf(value);
      break;
    case kPasswordFile:
      settings.passwordFile = textOf(value);
      break;
    case kStallAfter:
      settings.stallAfter = g_value_get_double(value);
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
  }
  GST_OBJECT_UNLOCK(object);
}

void getProperty(GObject* object, guint id, GValue* value, GParamSpec* spec) {
  if (id == kFigures) return g_value_take_boxed(value, sourceOf(object).figures());
  GST_OBJECT_LOCK(object);
  const quorvid::gst::Settings& settings = sourceOf(object).settings;
  switch (id) {
    case kServer:
      g_value_set_string(value, settings.server.c_str());
      break;
    case kPath:
      g_value_set_enum(value, settings.path);
      break;
    case kDevice:
      g_value_set_string(value, settings.device.c_str());
      break;
    case kChannel:
      g_value_set_int(value, settings.channel);
      break;
    case kAccount:
      g_value_set_string(value, settings.account.c_str());
      break;
    case kPasswordFile:
      g_value_set_string(value, settings.passwordFile.c_str());
      break;
    case kStallAfter:
      g_value_set_double(value, settings.stallAfter);
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
  }
  GST_OBJECT_UNLOCK(object);
}

void finalize(GObject* object) {
  const std::unique_ptr<Source> last(reinterpret_cast<QuorvidSrc*>(object)->source);
  G_OBJECT_CLASS(quorvid_src_parent_class)->finalize(object);
}

// Playing begins before the streaming thread may ask for a frame, and ends behind no frame's back.
GstStateChangeReturn changeState(GstElement* element, GstStateChange change) {
  Source& source = sourceOf(element);
  if (change == GST_STATE_CHANGE_PAUSED_TO_PLAYING && !source.play()) {
    return GST_STATE_CHANGE_FAILURE;
  }
  if (change == GST_STATE_CHANGE_PLAYING_TO_PAUSED) source.pause();
  const auto result = GST_ELEMENT_CLASS(quorvid_src_parent_class)->change_state(element, change);
  if (result == GST_STATE_CHANGE_FAILURE) source.pause();
  return result;
}

gboolean query(GstBaseSrc* base, GstQuery* asked) {
  if (GST_QUERY_TYPE(asked) != GST_QUERY_LATENCY) {
    return GST_BASE_SRC_CLASS(quorvid_src_parent_class)->query(base, asked);
  }
  gst_query_set_latency(asked, TRUE, kLeastLatency, kMostLatency);
  return TRUE;
}

void addProperties(GObjectClass* object) {
  constexpr auto kFlags = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS |
                                                   GST_PARAM_MUTABLE_READY);
  const auto text = [&](Property id, const char* name, const char* nick, const char* blurb) {
    g_object_class_install_property(object, id, g_param_spec_string(name, nick, blurb, "", kFlags));
  };
  text(kServer, "server", "Server", "The server as HOST:PORT; name or IPv4 address");
  g_object_class_install_property(object, kPath,
                                  g_param_spec_enum("path", "Path", "How the stream is reached",
                                                    pathType(), QUORVID_FLEET, kFlags));
  text(kDevice, "device", "Device",
       "The device; 31 characters at most, 63 on the car and relay paths");
  g_object_class_install_property(
      object, kChannel,
      g_param_spec_int("channel", "Channel", "The camera, counted from 0", 0, 7, 0, kFlags));
  text(kAccount, "account", "Account", "The account on the server; car and relay paths");
  text(kPasswordFile, "password-file", "Password file",
       "A file with the password in its first line that nobody else may read (mode 600)");
  g_object_class_install_property(
      object, kStallAfter,
      g_param_spec_double("stall-after", "Stall after",
                          "Seconds without a frame until the stream is started again; 0: never", 0,
                          3600, 5, kFlags));
  g_object_class_install_property(
      object, kFigures,
      g_param_spec_boxed(
          "figures", "Figures", "What was received, pushed and lost since the stream was started",
          GST_TYPE_STRUCTURE, static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS)));
}

void quorvid_src_class_init(QuorvidSrcClass* type) {
  auto* const object = G_OBJECT_CLASS(type);
  object->set_property = setProperty;
  object->get_property = getProperty;
  object->finalize = finalize;
  addProperties(object);

  auto* const element = GST_ELEMENT_CLASS(type);
  element->change_state = changeState;
  gst_element_class_set_static_metadata(
      element, "Quorvid live source", "Source/Network/Video",
      "Receives the live H.264 stream of a camera in a vehicle and reconnects by itself",
      "The Quorvid authors");
  const std::unique_ptr<GstCaps, quorvid::gst::Unref> caps(gst_caps_from_string(kCaps));
  gst_element_class_add_pad_template(
      element, gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, caps.get()));
  gst_type_mark_as_plugin_api(pathType(), static_cast<GstPluginAPIFlags>(0));

  auto* const base = GST_BASE_SRC_CLASS(type);
  base->start = [](GstBaseSrc* it) -> gboolean { return sourceOf(it).start() ? TRUE : FALSE; };
  base->stop = [](GstBaseSrc* it) -> gboolean { return sourceOf(it).stop(), TRUE; };
  base->unlock = [](GstBaseSrc* it) -> gboolean { return sourceOf(it).unlock(true), TRUE; };
  base->unlock_stop = [](GstBaseSrc* it) -> gboolean { return sourceOf(it).unlock(false), TRUE; };
  base->is_seekable = [](GstBaseSrc*) -> gboolean { return FALSE; };
  base->query = query;
  // The caps are the first frame's to say.
  base->negotiate = [](GstBaseSrc* it) -> gboolean { return sourceOf(it).renegotiate(), TRUE; };
  GST_PUSH_SRC_CLASS(type)->create = [](GstPushSrc* it, GstBuffer** buffer) {
    *buffer = nullptr;
    return sourceOf(it).create(buffer);
  };
}

void quorvid_src_init(QuorvidSrc* self) {
  auto* const base = GST_BASE_SRC(self);
  self->source = std::make_unique<Source>(base).release();
  gst_base_src_set_live(base, TRUE);
  gst_base_src_set_format(base, GST_FORMAT_TIME);
  gst_base_src_set_do_timestamp(base, TRUE);
}

gboolean initPlugin(GstPlugin* plugin) {
  return gst_element_register(plugin, "quorvidsrc", GST_RANK_NONE, quorvid_src_get_type());
}

}  // namespace

#define PACKAGE "quorvid"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, quorvid,
                  "Live H.264 video from cameras in vehicles", initPlugin, QUORVID_PLUGIN_VERSION,
                  GST_LICENSE_UNKNOWN, "quorvid", "Unknown package origin")
