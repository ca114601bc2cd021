// LiveStatus: what a live view plays and what it has to tell: its target, its state with the
// reason, its figures, its picture. Plain values, any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "quorvid/base/Export.h"

namespace quorvid {

// How a stream is asked for.
enum class LivePath : std::uint8_t {
  Fleet,  // from the fleet server itself
  Car,    // from the recorder, or what stands for it
  Relay,  // from where the server says that the recorder's stream is served
};

struct LiveTarget {
  LivePath path = LivePath::Fleet;
  std::string host;  // name or dotted IPv4 address
  int port = 0;      // 1 to 65535
  std::string account;
  std::string password;
  std::string device;
  int channel = 0;  // camera, counted from 0; at most 7
};

enum class LiveState : std::uint8_t {
  Idle,                // nothing was played yet
  Resolving,           // a name is looked up
  Connecting,          // a connection is opened, or a relay asked for
  WaitingForKeyFrame,  // connected; no picture that needs no other has come yet, or references are
                       // lost
  Live,                // pictures are shown as they come
  Late,                // decoding doesn't keep pace: pictures are left out, or the last one stands
                       // because what came since is older than the view may show. Or drawing
                       // doesn't, with all of the thread's time: pictures are overtaken. Or a
                       // view has no storage to draw into
  Stalled,             // the last picture stands: none came for `stallAfter` seconds
  Reconnecting,        // the connection is lost or can't be had; tried again in `nextTry` seconds
  Refused,             // the server answered with `answerStatus`; tried again in `nextTry` seconds
  Stopped,             // stop() was called
  Failed,              // nothing is tried: the target is impossible, or there are no graphics
};

enum class LiveReason : std::uint8_t {
  None,
  TargetImpossible,    // a text too long, a port or channel out of range
  NameNotFound,        // or no name server answers
  ConnectionRefused,   // nobody listens at that port
  Unreachable,         // no way to the server, or no answer to the connection attempt
  ConnectionLost,      // reset or closed
  Silent,              // connected, but nothing comes
  RefusedByServer,     // the answer's status is not 0
  NoRelay,             // the server named no place where the device's stream is served
  BrokenStream,        // bytes that are not of this protocol
  NoKeyFrame,          // frames come, but none to begin with
  PicturesOutOfOrder,  // frames are missing between those that came
  Undecodable,         // frames come that no picture can be made of
  TooSlow,             // decoding or drawing doesn't keep pace: the sentence says which
  NoResources,         // no thread, descriptor or memory left, or no library that decodes
  NoGraphics,          // no OpenGL ES 2 context, or no storage to draw into
};

// "live", "waiting for a key frame" ...
QUORVID_API const char* nameOf(LiveState state);

struct LiveStatus {
  LiveState state = LiveState::Idle;
  LiveReason reason = LiveReason::None;
  std::string sentence;           // the reason for a person, without a full stop; may be empty
  double nextTry = 0;             // seconds from now; Reconnecting, Refused, and Stalled
  std::int32_t answerStatus = 0;  // Refused: never 0

  friend bool operator==(const LiveStatus& a, const LiveStatus& b) {  // but for the time
    return a.state == b.state && a.reason == b.reason && a.sentence == b.sentence &&
           a.answerStatus == b.answerStatus;
  }
  friend bool operator!=(const LiveStatus& a, const LiveStatus& b) { return !(a == b); }
};

// Since play(), over all reconnections. Times in seconds; below 0: there was none yet.
struct LiveFigures {
  double playing = 0;             // since play()
  double firstPicture = -1;       // from play() to the first picture shown
  double sinceLastPicture = -1;   // from the last picture shown to now
  double lag = -1;                // from the arrival of the frame that is shown to its drawing
  double longestPause = 0;        // between two pictures shown, or since the last; not hidden
  double pictureRate = 0;         // pictures shown a second, of late
  double bitRate = 0;             // bits received a second, of late
  std::uint64_t received = 0;     // frames
  std::uint64_t bytes = 0;        // in frames
  std::uint64_t decoded = 0;      // pictures
  std::uint64_t converted = 0;    // of them, made ready to be drawn: the others nobody would see
  std::uint64_t shown = 0;        // pictures drawn
  std::uint64_t overwritten = 0;  // pictures that a newer one overtook before they were drawn
  std::uint64_t held = 0;         // frames that gave no picture: damaged, or built on lost ones
  std::uint64_t lost = 0;         // frames dropped before decoding: late, hidden, beyond the bound
  std::uint64_t reconnections = 0;        // attempts after the first
  std::uint64_t restarts = 0;             // of them, because pictures stayed away
  int streamWidth = 0, streamHeight = 0;  // what the stream states; 0 until a key frame came
  double shape = 0;                       // width / height as shown; 0 until a key frame came
};

// Rows from the top down, 3 bytes a pixel (red, green, blue), no padding.
struct LivePicture {
  int width = 0, height = 0;
  std::vector<std::uint8_t> rgb;
};

}  // namespace quorvid
