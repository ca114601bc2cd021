#include "apps/desk/recording/FolderWatch.h"

#include <algorithm>
#include <filesystem>

#include "apps/desk/recording/FileNames.h"

namespace quorvid::desk {

namespace {

namespace fs = std::filesystem;

constexpr unsigned kPause = 1500;  // milliseconds; a file that is written changes all the time

bool isNewer(const FolderFile& a, const FolderFile& b) {
  if (a.time != b.time) return a.time > b.time;
  // -2 came after the name without it.
  return a.name.size() != b.name.size() ? a.name.size() > b.name.size() : a.name > b.name;
}

}  // namespace

FolderListing listFolder(const std::string& folder) {
  FolderListing listing;
  std::error_code error;
  fs::directory_iterator entry(folder, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    const auto time = timeInName(name);
    std::error_code unread;
    if (!time || g_utf8_validate(name.c_str(), -1, nullptr) == 0) continue;
    if (!entry->is_regular_file(unread)) continue;
    const std::uint64_t size = entry->file_size(unread);
    listing.files.push_back({name, unread ? 0 : size, *time});
    if (listing.files.size() < 4 * FolderListing::kMost) continue;
    // Of a folder of any size only the newest are kept.
    std::nth_element(listing.files.begin(), listing.files.begin() + FolderListing::kMost,
                     listing.files.end(), isNewer);
    listing.older += listing.files.size() - FolderListing::kMost;
    listing.files.resize(FolderListing::kMost);
  }
  std::sort(listing.files.begin(), listing.files.end(), isNewer);
  if (listing.files.size() > FolderListing::kMost) {
    listing.older += listing.files.size() - FolderListing::kMost;
    listing.files.resize(FolderListing::kMost);
  }
  return listing;
}

void FolderWatch::watch(const std::string& folder) {
  life_.reset();
  folder_ = folder;
  monitor_.reset();
  isLooking_ = false;
  pause_.stop();
  look();
}

FolderWatch::Look FolderWatch::lookAt(const std::string& folder, bool withMonitor) {
  Look look;
  if (withMonitor) {
    const ObjectPtr<GFile> file(g_file_new_for_path(folder.c_str()));
    look.monitor.reset(
        g_file_monitor_directory(file.get(), G_FILE_MONITOR_WATCH_MOVES, nullptr, nullptr));
  }
  look.listing = listFolder(folder);
  return look;
}

void FolderWatch::look() {
  if (isLooking_ || pause_) {
    hasChanged_ = true;
    return;
  }
  hasChanged_ = false;
  const auto work = [folder = folder_, first = !monitor_] { return lookAt(folder, first); };
  isLooking_ = runTask(life_, work, [this](Look done) { take(std::move(done)); });
}

void FolderWatch::take(Look look) {
  isLooking_ = false;
  if (look.monitor) {
    monitor_ = std::move(look.monitor);
    on<void(GFileMonitor*, GFile*, GFile*, GFileMonitorEvent)>(
        monitor_.get(), "changed", [this](auto, auto, auto, auto) { this->look(); });
  }
  pause_ = Source::every(kPause, [this] {
    pause_.stop();
    if (hasChanged_) this->look();
  });
  told_(look.listing);
}

}  // namespace quorvid::desk
