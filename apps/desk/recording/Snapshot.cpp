#include "apps/desk/recording/Snapshot.h"
#include "apps/desk/recording/FileNames.h"

#include <fcntl.h>
#include <glib/gstdio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>

#include "apps/desk/toolkit/Ui.h"
#include "apps/quorvid/record/PieceName.h"

namespace quorvid::desk {

namespace {

struct FreeBytes {
  void operator()(GBytes* bytes) const { g_bytes_unref(bytes); }
};
using BytesPtr = std::unique_ptr<GBytes, FreeBytes>;

BytesPtr pngOf(const LivePicture& picture) {
  const auto width = static_cast<std::size_t>(std::max(picture.width, 0));
  const auto height = static_cast<std::size_t>(std::max(picture.height, 0));
  if (width == 0 || height == 0 || picture.rgb.size() != width * height * 3) return nullptr;
  const BytesPtr rows(g_bytes_new_static(picture.rgb.data(), picture.rgb.size()));
  const ObjectPtr<GdkTexture> texture(gdk_memory_texture_new(
      picture.width, picture.height, GDK_MEMORY_R8G8B8, rows.get(), width * 3));
  return BytesPtr(gdk_texture_save_to_png_bytes(texture.get()));
}

bool writeAll(int descriptor, GBytes* bytes) {
  gsize left = 0;
  const auto* next = static_cast<const char*>(g_bytes_get_data(bytes, &left));
  while (left > 0) {
    const ssize_t count = write(descriptor, next, left);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    next += count;
    left -= static_cast<gsize>(count);
  }
  return true;
}

// Never over a file that is there, as far as the disk's format knows how.
bool moveTo(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  return g_access(to.c_str(), F_OK) != 0 && g_rename(from.c_str(), to.c_str()) == 0;
}

}  // namespace

SnapshotOutcome writeSnapshot(const std::string& folder, const std::string& stem,
                              const LivePicture& picture) {
  const BytesPtr png = pngOf(picture);
  if (!png) return {"", tr("there is no picture")};
  const auto failed = [] { return SnapshotOutcome{"", g_strerror(errno)}; };
  if (g_mkdir_with_parents(folder.c_str(), kMostFolderMode) != 0) return failed();
  std::string beside = taken(g_build_filename(folder.c_str(), ".snapshot-XXXXXX", nullptr));
  const int descriptor = g_mkstemp_full(beside.data(), O_WRONLY | O_CLOEXEC, 0644);
  if (descriptor < 0) return failed();
  SnapshotOutcome outcome;
  const bool isWhole = writeAll(descriptor, png.get());
  if (!isWhole) outcome = failed();
  if (close(descriptor) != 0 && isWhole) outcome = failed();
  const std::string whole =
      taken(g_build_filename(folder.c_str(), (stem + ".png").c_str(), nullptr));
  for (int tries = 0; outcome.trouble.empty() && outcome.name.empty(); ++tries) {
    const std::string name = app::pieceName(whole, std::time(nullptr));
    if (moveTo(beside, name)) {
      outcome.name = taken(g_path_get_basename(name.c_str()));
    } else if (errno != EEXIST || tries > 9) {
      outcome = failed();
    }
  }
  if (!outcome.trouble.empty()) g_unlink(beside.c_str());
  return outcome;
}

}  // namespace quorvid::desk
