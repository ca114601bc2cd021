// FrameRecorder: takes the frames of a stream as they come and writes them from the first key frame
// on whose parameter sets a file can be made of. The file is made with that frame, so what lay in
// its place stays until then. It may be many files, of which each next one begins at a key frame:
// together they hold every frame. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/common/Stream.h"
#include "apps/quorvid/record/StreamFile.h"

namespace quorvid::app {

struct RecorderOptions {
  std::string fileName;
  std::int64_t limit = 0;  // bytes of all files at most; 0: as many as the disk has room for
  double split = 0;        // a new file after so many seconds, named by pieceName(); 0: one file
  bool overwrite = false;  // an existing file is replaced; else that is a Failure
  std::string title;       // of the files
  std::string comment;
};

class FrameRecorder {
 public:
  enum class Full : std::uint8_t { No, Limit, Disk };

  explicit FrameRecorder(RecorderOptions options) : options_(std::move(options)) {}

  // now: when the frame came, in seconds of the steady clock. Throws Failure when it can't be
  // written; nothing more should be given then, nor once full() says so.
  void take(const std::uint8_t* frame, std::size_t length, double now);
  // The stream was started anew: waits for the next key frame.
  void streamRestarted() { waitingForKey_ = true; }
  // Finishes the file, if one was begun. Throws Failure.
  void close();

  // Why nothing more is written: the next frame would not have fitted.
  Full full() const { return full_; }
  std::uint64_t frames() const { return frames_; }
  double seconds() const { return lastTime_; }  // from the first frame to the last
  double elapsed(double now) const { return frames_ > 0 ? now - start_ : 0; }
  std::int64_t bytes() const { return bytesBefore_ + (file_ ? file_->bytes() : 0); }
  const std::vector<std::string>& files() const { return files_; }  // that were begun
  std::time_t startTime() const { return startTime_; }              // of the first; 0 before it
  PixelSize size() const { return size_; }                          // of the last
  // Key frames left out because no file can begin with their parameter sets.
  std::uint64_t refused() const { return refused_; }

  // "76 frames, 3.04 s, 0.21 MB, 640x480".
  std::string figures() const;
  // What a user should know of the frames, a sentence each. After close().
  std::vector<std::string> oddities() const;
  // Why nothing was written although frames came. limit: the file's limit as the user gave it.
  std::string whyNothingWasWritten(const std::string& limit) const;

 private:
  void keepParameterSets(h264::ByteView frame, const std::vector<h264::Unit>& units);
  bool judgeParameterSets();
  std::vector<std::uint8_t> parameterSets() const;
  bool hasRoom(const std::vector<std::uint8_t>& frame);
  void beginFile(double now);
  void noteChanges();

  const RecorderOptions options_;
  Full full_ = Full::No;
  std::int64_t diskRoom_ = 0;  // what may still be written before the disk is looked at again
  std::unique_ptr<StreamFile> file_;
  std::vector<std::uint8_t> sps_;  // the last ones seen, with start codes
  std::vector<std::uint8_t> pps_;
  bool setsChanged_ = false;
  bool setsUsable_ = false;
  std::optional<PixelSize> spsSize_;  // nothing when the SPS can't be understood
  PixelSize size_;                    // that the file's header states
  std::vector<std::string> files_;
  std::time_t startTime_ = 0;
  std::int64_t bytesBefore_ = 0;      // in files that are closed
  std::vector<std::string> changed_;  // what changed within a file, a sentence each
  double start_ = 0;                  // when the first frame came,
  double fileStart_ = 0;              // and the first of this file
  double lastTime_ = 0;
  std::uint64_t frames_ = 0;
  std::uint64_t unusable_ = 0;  // frames without any unit, left out
  std::uint64_t refused_ = 0;
  unsigned changes_ = 0;  // times that the parameter sets changed within this file
  bool waitingForKey_ = true;
};

}  // namespace quorvid::app
