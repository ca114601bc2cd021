// StreamFile: H.264 frames written into a file as they came, without decoding.
//
// The ending says how: .h264 is the bare stream, .mp4 is written in fragments, .mkv in clusters, so
// that what was written stays readable when the disk is full or the program is killed. The file is
// made with the first frame. The wire carries no times: a frame's time is that of its arrival. One
// thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "apps/common/Target.h"

namespace quorvid::app {

// What players show of a file. A bare stream (.h264) has no place for it.
struct FileTags {
  std::string title;
  std::string comment;
  std::string creationTime;  // "2026-01-31T23:59:59Z"
};

class StreamFile {
 public:
  // True when a file of that name can begin with these sets: its header can be made. Writes
  // nothing.
  static bool canBegin(const std::string& fileName, const std::vector<std::uint8_t>& parameterSets,
                       PixelSize size);

  // Makes the file. parameterSets: the stream's SPS and PPS with start codes; size: what they
  // state. Throws Failure.
  StreamFile(std::string fileName, const std::vector<std::uint8_t>& parameterSets, PixelSize size,
             const FileTags& tags);
  // Closes the file if close() was not called.
  ~StreamFile();
  StreamFile(const StreamFile&) = delete;
  StreamFile& operator=(const StreamFile&) = delete;

  // seconds: since the first frame; times that do not grow are moved on. Throws Failure when it
  // can't be written (disk full): the file is cut back to its last whole part then and takes no
  // more.
  void write(const std::uint8_t* frame, std::size_t length, double seconds, bool isKey);
  // Finishes the file. Throws Failure when something of it can't be written.
  void close();
  const std::string& name() const { return fileName_; }
  std::int64_t bytes() const { return wholeBytes_; }
  // How large the file can become at most when this frame is written too and the file is finished.
  std::int64_t bytesAtMostWith(const std::uint8_t* frame, std::size_t length) const;

 private:
  struct Muxer;
  void noteWritten(int result);

  std::string fileName_;
  std::unique_ptr<Muxer> muxer_;   // null once the file is closed or has failed
  std::int64_t lastTime_ = -1;     // in the stream's time base
  std::int64_t pendingBytes_ = 0;  // at most, of frames that the muxer still holds
  std::int64_t parts_ = 0;         // parts and key frames that the index names, at most
  std::int64_t wholeBytes_ = 0;    // up to the end of the last part that was written whole
};

}  // namespace quorvid::app
