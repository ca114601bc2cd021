#include "apps/desk/recording/FrameFiles.h"
#include "apps/desk/recording/FileNames.h"

#include <glib.h>
#include <glib/gstdio.h>

#include <cerrno>
#include <ctime>

#include "apps/common/Failure.h"
#include "apps/desk/toolkit/Ui.h"
#include "apps/quorvid/record/DiskRoom.h"
#include "apps/quorvid/record/PieceName.h"

namespace quorvid::desk {

namespace {

constexpr std::int64_t kDiskLook = 1 << 20;  // bytes from one look at the disk to the next

std::string utcText(std::time_t time) {
  const std::unique_ptr<GDateTime, void (*)(GDateTime*)> date(g_date_time_new_from_unix_utc(time),
                                                              g_date_time_unref);
  return taken(g_date_time_format(date.get(), "%Y-%m-%dT%H:%M:%SZ"));
}

}  // namespace

void FrameFiles::take(const PlayedFrame& frame) {
  FrameHead head = headOf(frame.bytes.get(), frame.size);
  const bool canBegin = head.canBegin();
  const bool holdsSets = !head.sps.empty();
  if (frames_ > 0 && !frame.continues) isWaiting_ = true;
  keepSets(head);
  if (!head.hasSlice || (isWaiting_ && !canBegin)) return;
  if (canBegin && mustBegin(frame) && !begin(frame)) {
    isWaiting_ = true;
    return;
  }
  isWaiting_ = false;
  requireRoom(frame.size);
  const double time = frame.arrival - fileStart_;
  if (canBegin && !holdsSets) {
    // The sets came in a frame of their own, before this picture.
    std::vector<std::uint8_t> whole = sets();
    whole.insert(whole.end(), frame.bytes.get(), frame.bytes.get() + frame.size);
    file_->write(whole.data(), whole.size(), time, true);
  } else {
    file_->write(frame.bytes.get(), frame.size, time, canBegin);
  }
  lastTime_ = frame.arrival - start_;
  ++frames_;
}

void FrameFiles::keepSets(FrameHead& head) {
  if (!head.sps.empty()) sps_ = std::move(head.sps);
  if (!head.pps.empty()) pps_ = std::move(head.pps);
}

std::vector<std::uint8_t> FrameFiles::sets() const {
  std::vector<std::uint8_t> both = sps_;
  both.insert(both.end(), pps_.begin(), pps_.end());
  return both;
}

bool FrameFiles::mustBegin(const PlayedFrame& frame) const {
  return !file_ || frame.width != size_.width || frame.height != size_.height ||
         (options_.seconds > 0 && frame.arrival - fileStart_ >= options_.seconds) ||
         sets() != fileSets_;
}

// False when no file can begin with these parameter sets: what is open stays so.
bool FrameFiles::begin(const PlayedFrame& frame) {
  const app::PixelSize size{frame.width, frame.height};
  std::vector<std::uint8_t> wanted = sets();
  if (size.width < 1 || size.height < 1 || sps_.empty() || pps_.empty()) return false;
  if (!app::StreamFile::canBegin(".mp4", wanted, size)) return false;
  close();
  if (g_mkdir_with_parents(options_.folder.c_str(), kMostFolderMode) != 0) {
    throw app::Failure(trf("the folder {} can't be made: {}", options_.folder, g_strerror(errno)));
  }
  const std::time_t now = std::time(nullptr);
  const std::string whole =
      taken(g_build_filename(options_.folder.c_str(), (options_.stem + ".mp4").c_str(), nullptr));
  requireRoom(frame.size);
  const std::string name = app::pieceName(whole, now);
  app::requireNew(name);
  file_ = std::make_unique<app::StreamFile>(name, wanted, size,
                                            app::FileTags{options_.title, "", utcText(now)});
  files_.push_back(name);
  fileSets_ = std::move(wanted);
  size_ = size;
  fileStart_ = frame.arrival;
  if (files_.size() == 1) start_ = frame.arrival;
  return true;
}

void FrameFiles::requireRoom(std::size_t size) {
  const auto needed = static_cast<std::int64_t>(size) + static_cast<std::int64_t>(size) / 3;
  if (room_ < needed) {
    room_ = app::roomOnDisk(file_ ? file_->name() : options_.folder + "/.", kDiskLook + needed);
    if (room_ < needed) throw app::Failure(tr("the disk is nearly full"));
  }
  room_ -= needed;
}

void FrameFiles::close() {
  if (!file_) return;
  const std::unique_ptr<app::StreamFile> closed = std::move(file_);
  closed->close();
  bytesBefore_ += closed->bytes();
}

}  // namespace quorvid::desk
