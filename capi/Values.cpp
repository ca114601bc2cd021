#include "capi/Values.h"

#include <iterator>

#include "capi/Guard.h"

namespace quorvid::capi {
namespace {

static_assert(static_cast<int>(LiveState::Failed) == QUORVID_FAILED &&
              static_cast<int>(LiveState::Late) == QUORVID_LATE);
static_assert(static_cast<int>(LiveReason::NoGraphics) == QUORVID_REASON_NO_GRAPHICS &&
              static_cast<int>(LiveReason::NoRelay) == QUORVID_REASON_NO_RELAY);
static_assert(static_cast<int>(LivePath::Relay) == QUORVID_RELAY);

constexpr const char* kUnknown = "unknown";

constexpr const char* kReasons[] = {
    "no reason",   "impossible target", "name not found", "connection refused",
    "unreachable", "connection lost",   "silent",         "refused by the server",
    "no relay",    "broken stream",     "no key frame",   "pictures out of order",
    "undecodable", "too slow",          "no resources",   "no graphics"};
static_assert(std::size(kReasons) == 1 + QUORVID_REASON_NO_GRAPHICS);

constexpr const char* kResults[] = {"done",         "bad argument", "target refused",
                                    "timed out",    "not playing",  "no picture",
                                    "no resources", "not drawn",    "wrong thread"};
static_assert(std::size(kResults) == 1 - QUORVID_WRONG_THREAD);

const char* textOrEmpty(const char* text) {
  return text != nullptr ? text : "";
}

// Whole characters of UTF-8, and a zero.
template <std::size_t Size>
void copyText(const std::string& text, char (&out)[Size]) {
  std::size_t length = std::min(text.size(), Size - 1);
  while (length < text.size() && length > 0 && (text[length] & 0xC0) == 0x80) --length;
  std::memcpy(out, text.data(), length);
  out[length] = '\0';
}

}  // namespace

std::optional<LiveTarget> targetOf(const quorvid_target* target) {
  const auto given = readStruct(target, quorvid_target QUORVID_TARGET_INIT);
  if (!given || given->path < QUORVID_FLEET || given->path > QUORVID_RELAY) return std::nullopt;
  LiveTarget made;
  made.path = static_cast<LivePath>(given->path);
  made.host = textOrEmpty(given->host);
  made.port = given->port;
  made.account = textOrEmpty(given->account);
  made.password = textOrEmpty(given->password);
  made.device = textOrEmpty(given->device);
  made.channel = given->channel;
  return made;
}

quorvid_status statusOf(const LiveStatus& status) {
  quorvid_status made = QUORVID_STATUS_INIT;
  made.state = static_cast<std::int32_t>(status.state);
  made.reason = static_cast<std::int32_t>(status.reason);
  made.answer_status = status.answerStatus;
  made.next_try = status.nextTry;
  copyText(status.sentence, made.sentence);
  return made;
}

quorvid_figures figuresOf(const LiveFigures& figures) {
  quorvid_figures made = QUORVID_FIGURES_INIT;
  made.stream_width = figures.streamWidth;
  made.stream_height = figures.streamHeight;
  made.shape = figures.shape;
  made.playing = figures.playing;
  made.first_picture = figures.firstPicture;
  made.since_last_picture = figures.sinceLastPicture;
  made.lag = figures.lag;
  made.longest_pause = figures.longestPause;
  made.picture_rate = figures.pictureRate;
  made.bit_rate = figures.bitRate;
  made.received = figures.received;
  made.bytes = figures.bytes;
  made.decoded = figures.decoded;
  made.converted = figures.converted;
  made.shown = figures.shown;
  made.overwritten = figures.overwritten;
  made.held = figures.held;
  made.lost = figures.lost;
  made.reconnections = figures.reconnections;
  made.restarts = figures.restarts;
  return made;
}

}  // namespace quorvid::capi

namespace capi = quorvid::capi;

std::int32_t quorvid_version() {
  return QUORVID_VERSION;
}

const char* quorvid_result_name(std::int32_t result) {
  const bool isKnown = result <= QUORVID_OK && result >= QUORVID_WRONG_THREAD;
  return isKnown ? capi::kResults[-result] : capi::kUnknown;
}

const char* quorvid_state_name(std::int32_t state) {
  const bool isKnown = state >= QUORVID_IDLE && state <= QUORVID_FAILED;
  return isKnown ? nameOf(static_cast<quorvid::LiveState>(state)) : capi::kUnknown;
}

const char* quorvid_reason_name(std::int32_t reason) {
  const bool isKnown = reason >= 0 && reason < static_cast<int>(std::size(capi::kReasons));
  return isKnown ? capi::kReasons[reason] : capi::kUnknown;
}
