// FolderWatch: the recordings and snapshots in a folder, newest first, listed again when it
// changes. Main thread; the folder, which may be far away, is read on threads of their own.
#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "apps/desk/toolkit/Task.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

struct FolderFile {
  std::string name;
  std::uint64_t size = 0;
  std::time_t time = 0;  // when it began, by its name

  bool isPicture() const { return name.ends_with(".png"); }
  friend bool operator==(const FolderFile&, const FolderFile&) = default;
};

struct FolderListing {
  static constexpr std::size_t kMost = 200;
  std::vector<FolderFile> files;  // kMost at most
  std::size_t older = 0;          // that are left out
};

// Of files that fileStem() and the time name; empty where there is no such folder. Waits for the
// disk; any thread.
FolderListing listFolder(const std::string& folder);

class FolderWatch {
 public:
  explicit FolderWatch(std::function<void(const FolderListing&)> told) : told_(std::move(told)) {}

  // Tells what is in it, and again within two seconds of a change.
  void watch(const std::string& folder);

 private:
  struct Look {
    FolderListing listing;
    ObjectPtr<GFileMonitor> monitor;  // made at the first look at a folder
  };
  static Look lookAt(const std::string& folder, bool withMonitor);
  void look();
  void take(Look look);

  const std::function<void(const FolderListing&)> told_;
  std::string folder_;
  ObjectPtr<GFileMonitor> monitor_;
  bool isLooking_ = false;
  bool hasChanged_ = false;  // since the last look began
  Source pause_;             // from one look to the next
  Life life_;
};

}  // namespace quorvid::desk
