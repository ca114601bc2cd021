// FrameFiles: the frames of one camera in files one after another, as they came. One thread.
//
// Each file begins with a picture that needs no other, and with the parameter sets of that picture;
// a new one begins every so often, and where the sets or the size change. Together they hold every
// frame that came from the first such picture on, but for those behind a loss, up to the next one.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "apps/desk/recording/ParameterSets.h"
#include "apps/quorvid/record/StreamFile.h"
#include "quorvid/live/PicturePlayer.h"

namespace quorvid::desk {

struct FileOptions {
  std::string folder;  // made where it is missing
  std::string stem;    // of the names: fileStem()
  double seconds = 0;  // in one file; 0: all in one, but for changes
  std::string title;   // of the files
};

class FrameFiles {
 public:
  explicit FrameFiles(FileOptions options) : options_(std::move(options)) {}

  // Throws with a sentence when the frame can't be written, which includes a disk that is nearly
  // full; nothing more should be given then.
  void take(const PlayedFrame& frame);
  // Finishes the file, if one was begun. Throws with a sentence.
  void close();

  // Frames are left out until the next picture that a file can go on with.
  bool isWaiting() const { return isWaiting_; }
  double seconds() const { return lastTime_; }  // from the first frame to the last
  std::int64_t bytes() const { return bytesBefore_ + (file_ ? file_->bytes() : 0); }
  std::uint64_t frames() const { return frames_; }
  const std::vector<std::string>& files() const { return files_; }  // that were begun

 private:
  void keepSets(FrameHead& head);
  bool mustBegin(const PlayedFrame& frame) const;
  bool begin(const PlayedFrame& frame);
  void requireRoom(std::size_t size);
  std::vector<std::uint8_t> sets() const;

  const FileOptions options_;
  std::unique_ptr<app::StreamFile> file_;
  std::vector<std::uint8_t> sps_, pps_;  // the last ones seen
  std::vector<std::uint8_t> fileSets_;   // of the file
  app::PixelSize size_;                  // of the file
  std::vector<std::string> files_;
  std::int64_t bytesBefore_ = 0;  // in files that are closed
  std::int64_t room_ = 0;         // what may still be written before the disk is looked at again
  std::uint64_t frames_ = 0;
  double start_ = 0;      // when the first frame came,
  double fileStart_ = 0;  // and the first of this file
  double lastTime_ = 0;
  bool isWaiting_ = true;
};

}  // namespace quorvid::desk
