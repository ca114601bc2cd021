// FrameRecorder: takes the frames of a stream as they come and writes them from the first key frame
// on. One thread.
#ifndef QUORVID_APPS_QUORVID_FRAME_RECORDER_H
#define QUORVID_APPS_QUORVID_FRAME_RECORDER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "apps/quorvid/H264.h"
#include "apps/quorvid/StreamFile.h"

namespace quorvid::app {

class FrameRecorder {
 public:
  explicit FrameRecorder(std::string fileName) : fileName_(std::move(fileName)) {}

  // now: when the frame came, in seconds of the steady clock. False, with a sentence in `error`,
  // when it could not be written; nothing more should be given then.
  bool take(const std::uint8_t* frame, std::size_t length, double now, std::string& error);
  // The stream was started anew: waits for the next key frame.
  void streamRestarted() { waitingForKey_ = true; }
  // Finishes the file; true when nothing was begun.
  bool close(std::string& error);

  std::uint64_t frames() const { return frames_; }
  double seconds() const { return lastTime_; }  // from the first frame to the last
  double elapsed(double now) const { return file_ ? now - start_ : 0; }  // since the first frame
  std::int64_t bytes() const { return file_ ? file_->bytes() : 0; }
  PixelSize size() const { return size_; }
  std::uint64_t unusable() const { return unusable_; }  // frames without any unit, left out
  unsigned changes() const { return changes_; }         // times that the parameter sets changed

 private:
  void keepParameterSets(const std::uint8_t* frame, const std::vector<H264Unit>& units);
  bool begin(double now, std::string& error);

  std::string fileName_;
  std::unique_ptr<StreamFile> file_;
  std::vector<std::uint8_t> sps_;  // the last ones seen, with start codes
  std::vector<std::uint8_t> pps_;
  PixelSize size_;
  double start_ = 0;
  double lastTime_ = 0;
  std::uint64_t frames_ = 0;
  std::uint64_t unusable_ = 0;
  unsigned changes_ = 0;
  bool waitingForKey_ = true;
};

}  // namespace quorvid::app

#endif
