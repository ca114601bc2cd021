// PicturePlayer: plays the live stream of one camera without a window and hands out its pictures:
// for recorders, detectors and tests. No GL, no run loop.
//
// Any thread makes any call, several at once. No call waits but next() and those that say so.
// Three threads of its own while it plays: one receives, one decodes, one (the player's thread)
// watches, calls the handlers and ends with the object.
//
//   auto player = quorvid::PicturePlayer::create();
//   player->connect(target);
//   while (const auto picture = player->next(10)) use(*picture);
//
// Pictures come as decoded, in the stream's own size, without a copy. Which of them: the newest, or
// each one (PlayerOptions). What is lost in either mode is counted in figures().
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "quorvid/base/Export.h"
#include "quorvid/base/PixelBuffer.h"
#include "quorvid/live/LiveStatus.h"

namespace quorvid {

struct PlayerOptions {
  // false: a picture that nobody took is overtaken by the next one, and what is older than
  // `mostLag` is not handed out.
  // true: each one is handed out, in order. `mostWaiting` decoded pictures wait; beyond them the
  // stream waits as it came. Lost are only frames beyond 8 MiB or 12 s, by whole groups.
  bool everyPicture = false;
  int mostWaiting = 8;  // 1 to 64; everyPicture
  // Seconds by which a picture may be late and still be handed out.
  double mostLag = 1;
  // Seconds without a picture after which the stream is started again, as LiveOptions says.
  double stallAfter = 5;
};

// A decoded picture. Copies share the bytes, which nobody may write to. A picture that is kept
// holds its memory (about 1.5 bytes a pixel) and outlives the player.
struct PlayedPicture {
  // "y420", or "f420" for a stream in full range: CVPixelBufferGetBaseAddressOfPlane() and its
  // sisters give three planes, CVImageBufferGetDisplaySize() the shape, the attachment
  // kCVImageBufferYCbCrMatrixKey the matrix.
  std::shared_ptr<CVPixelBuffer> buffer;
  // Of the frame that it was made of, counted from 1 since play(): what a gap leaves out was lost,
  // held back or overtaken, or gave no picture.
  std::uint64_t number = 0;
  double arrival = 0;      // of that frame: seconds of the steady clock (CLOCK_MONOTONIC)
  double arrivalDate = 0;  // the same as seconds since 1970-01-01 00:00 UTC
};

// The picture in another form, rows from the top without padding; any thread. False when memory is
// short or there is no picture.
// Two planes, one behind the other, in video range: Y', then Cb and Cr in turn.
QUORVID_API bool copyAsNv12(const PlayedPicture& picture, std::vector<std::uint8_t>& bytes);
// Red, green, blue by the picture's own matrix.
QUORVID_API bool copyAsRgb(const PlayedPicture& picture, std::vector<std::uint8_t>& bytes);

// A frame that was not decoded. Copies share the bytes, which outlive the player.
struct PlayedFrame {
  std::shared_ptr<const std::uint8_t> bytes;  // one access unit in Annex B form, as it came
  std::size_t size = 0;
  std::uint64_t number = 0;             // as for a picture
  double arrival = 0, arrivalDate = 0;  // as for a picture
  bool isKey = false;                   // brings parameter sets or an IDR picture
  bool continues = false;               // no frame is missing since the one handed out before
  int width = 0, height = 0;            // what the stream states
};

class QUORVID_API PicturePlayer {
 public:
  // Null, with a line in the log, when the system gives no thread. Values out of their range are
  // brought into it.
  static std::unique_ptr<PicturePlayer> create(const PlayerOptions& options = {});
  // A player of frames, which are not decoded: each one is handed out, in order, from the first
  // parameter sets of each connection on. 64 wait for whoever takes them, and the stream behind
  // them as for every picture. It takes nextFrame() alone, and no picture handler. stallAfter: as
  // in the options, seconds without a frame.
  static std::unique_ptr<PicturePlayer> createForFrames(double stallAfter = 5);
  // Stops. Waits for a handler that runs, unless called by it; none is called afterwards.
  ~PicturePlayer();
  PicturePlayer(const PicturePlayer&) = delete;
  PicturePlayer& operator=(const PicturePlayer&) = delete;

  // As for LiveView. Pictures that nobody took yet are dropped by each of the four.
  bool connect(const LiveTarget& target);
  bool play();
  void stop();
  void restart();
  bool isPlaying() const;
  LiveStatus status() const;
  // `shown` counts pictures handed out, and the times are those of handing out.
  LiveFigures figures() const;

  // Waits for a picture, `seconds` at most (0: takes one that waits), and takes it. Nothing when
  // none came in time, and at once when nothing is played or a picture handler is set; a stop() or
  // the end of the player ends the wait. Of several threads that wait, each gets other pictures.
  // why: null, or set when there is none.
  enum class Ended : std::uint8_t { TimedOut, NotPlaying, HandlerSet, OtherKind };
  std::optional<PlayedPicture> next(double seconds, Ended* why = nullptr);
  // The same of a player of frames.
  std::optional<PlayedFrame> nextFrame(double seconds, Ended* why = nullptr);
  // createForFrames() made it.
  bool handsOutFrames() const;
  // The other way: each picture is handed to `handler` on the player's thread, one at a time. It
  // may make any call, and end the player. The pictures that come while it runs wait, as `options`
  // say. Returns once the former handler no longer runs, unless called by a handler.
  void setPictureHandler(std::function<void(const PlayedPicture&)> handler);
  // Called on the player's thread when the status has changed; as for the picture handler.
  void setStatusHandler(std::function<void(const LiveStatus&)> handler);

 private:
  struct State;
  QUORVID_LOCAL static std::unique_ptr<PicturePlayer> make(const PlayerOptions& options,
                                                           bool undecoded);
  QUORVID_LOCAL explicit PicturePlayer(std::shared_ptr<State> state);
  std::shared_ptr<State> state_;
};

}  // namespace quorvid
