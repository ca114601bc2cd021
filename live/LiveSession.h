// LiveSession: one stream from play() to stop(): a thread that receives, one that decodes, and what
// lies between them and the view.
//
//   receiving thread        FrameQueue         decoding thread         host's thread
//   worker -> frame ----------------------->  StreamDecoder  ------>  takePicture()
//        \------------ status, figures (one mutex) ------------------> status(), figures()
//
// Both threads hold the session, so nobody waits for them: end() asks them to end and returns. No
// lock is held while a decoder, a worker or the wake handler runs.
#pragma once

#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "connection/StreamObserver.h"
#include "live/FrameGate.h"
#include "live/FrameQueue.h"
#include "live/Picture.h"
#include "live/StreamDecoder.h"
#include "live/Wake.h"
#include "quorvid/live/LiveStatus.h"

namespace quorvid {

// What a session counts. No copy allocates anything.
struct SessionCounts {
  StreamShape shape;
  std::uint64_t received = 0, bytes = 0, decoded = 0, converted = 0, overwritten = 0, held = 0,
                lost = 0;
  std::uint64_t attempts = 0;  // connections begun
};

// What the threads of a session tell. Times: seconds, steady clock; below 0: not yet.
struct SessionReport : SessionCounts {
  LiveStatus status;      // as the worker and the decoder see it; nextTry is not set
  double nextTryAt = -1;  // Reconnecting, Refused
  double lastFrame = -1;  // arrival
  bool isLate = false;    // decoding doesn't keep pace, and pictures are left out for it
  bool isReady = false;   // a picture waits to be taken
  bool hasEnded = false;  // the worker gave up; nothing more comes
};

// What a session hands out.
struct Delivery {
  PictureForm form = PictureForm::OwnSize;
  bool isEvery = false;      // decoding waits until the last one is taken, and spares no frame
  bool isUndecoded = false;  // frames as they came, from each connection's first sets on
};

class LiveSession : public StreamObserver, public std::enable_shared_from_this<LiveSession> {
 public:
  // Starts both threads. Failed with NoResources in report() when the system refuses one.
  static std::shared_ptr<LiveSession> start(const LiveTarget& target, double mostLag,
                                            std::shared_ptr<Wake> wake, bool hidden,
                                            const Delivery& delivery = {});

  // False in a child that fork() made: threads and connection are its parent's alone, and a lock
  // may be held for ever there. Nothing else may be called then.
  bool isOurs() const { return process_ == getpid(); }
  void end();
  void setHidden(bool hidden) { queue_.setHidden(hidden); }
  void setMostLag(double seconds) { mostLag_ = seconds; }
  // The newest picture that was not taken yet. One that is only kept so far is converted by
  // complete(), for who will show it; false when it can't be.
  std::optional<Picture> takePicture();
  bool complete(Picture& picture);
  // The next picture is about to be taken: it is converted beside the host's thread, if that comes
  // to it in time.
  void prepare();
  SessionReport report() const;
  SessionCounts counts() const;

 private:
  LiveSession(const LiveTarget& target, double mostLag, std::shared_ptr<Wake> wake,
              const Delivery& delivery);
  void receive();
  std::int32_t runWorker();
  void stopReceiving();
  void fail(LiveReason reason, std::string sentence);
  void failForMemory();
  void loseFrame();
  void decode();
  void decodeAll();
  void passOn();
  void notePassage(FrameGate::Outcome outcome, const Frame& frame, const StreamShape& shape);
  void decodeFrame(StreamDecoder& decoder, Frame& frame);
  bool noteLateness(double now, const Frame& frame);
  // Whoever takes every picture, or takes them as they are decoded, is spared nothing by waiting.
  bool keepingSavesNothing() const {
    return delivery_.isEvery || delivery_.form == PictureForm::AsDecoded;
  }
  bool isOvertaken(double now, const Frame& frame);
  bool isSureToBeSeen(double now);
  void convertKept();
  void convert(VTKeptPicture& kept);
  void overtake(std::optional<Picture> picture);
  void publish(Picture picture);
  void noteOutcome(StreamDecoder::Outcome outcome, const StreamShape& shape);
  bool isUntold();
  void setStatus(LiveState state, LiveReason reason, std::string sentence,
                 std::int32_t answerStatus = 0);

  void keepRelay();
  static LiveReason reasonOf(StreamEvent event, std::int32_t detail);
  std::string sentenceOf(StreamEvent event, std::int32_t detail) const;

  // StreamObserver; on the receiving thread.
  void told(StreamEvent event, std::int32_t detail) override;
  void frameArrived(const std::uint8_t* bytes, std::size_t size) override;

  const pid_t process_ = getpid();
  const LiveTarget target_;
  const std::shared_ptr<Wake> wake_;
  const Delivery delivery_;
  std::atomic<double> mostLag_;
  std::uint8_t cancel_ = 0;  // the worker's stop flag
  // The receiving thread's: whom the worker talks to, for a person; and whether it asks there for a
  // relay, or has just been named one.
  std::string peer_;
  bool asksForRelay_, isSentOn_ = false;
  FrameQueue queue_;
  mutable std::mutex mutex_;  // guards what follows
  SessionReport report_;
  std::uint64_t connections_ = 0;  // begun, those to a relay too
  std::optional<Picture> ready_;
  bool isChosen_ = false;           // ready_ is for the host's turn that has begun,
  std::optional<Picture> next_;     // and this for the one after that
  std::condition_variable picked_;  // ready_ was taken, or the session ends
  bool ending_ = false;
  std::uint64_t taken_ = 0;  // how often the host's thread asked
  double published_ = -1;    // when ready_ was set last
  double wasted_ = -1;       // when a picture was converted that nobody took, last
  double leftOut_ = -1;      // when a picture was left out last, because decoding is late
  // The decoding thread's: what the host was woken for last.
  LiveStatus told_;
  bool toldLate_ = false;
};

// In the memory that the status has; without the sentence where that is too little. Throws nothing.
void setShortStatus(LiveStatus& status, LiveState state, LiveReason reason, const char* sentence);

inline LiveStatus makeStatus(LiveState state, LiveReason reason = LiveReason::None,
                             std::string sentence = {}) {
  LiveStatus status;
  status.state = state;
  status.reason = reason;
  status.sentence = std::move(sentence);
  return status;
}

// Why the target can't be played; empty when it can.
std::string refusalOf(const LiveTarget& target);

}  // namespace quorvid
