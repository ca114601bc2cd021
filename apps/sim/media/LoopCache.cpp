#include "sim/media/LoopCache.h"

#include <fmt/format.h>
#include <unistd.h>

#include <atomic>
#include <fstream>

#include "sim/Error.h"
#include "sim/media/AccessUnit.h"

namespace quorvid::sim {
namespace {

namespace fs = std::filesystem;

// A file:
//   text   what the frames depend on, and a line feed
//   for each frame
//     4 bytes  length of the frame, least significant first
//     length   the frame
//   4 bytes  0: the loop is whole
constexpr std::size_t kLengthBytes = 4;

// Any name makes a loop, and names cost a client nothing: so many are kept.
constexpr std::ptrdiff_t kFiles = 64;

// When this program was built, as far as its file tells.
std::string thisBuild() {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  const auto time = fs::last_write_time(program, error).time_since_epoch().count();
  return fmt::format("{} {}", fs::file_size(program, error), time);
}

std::size_t readLength(std::istream& in) {
  Bytes bytes(kLengthBytes);
  in.read(reinterpret_cast<char*>(bytes.data()), kLengthBytes);
  return bytes[0] | bytes[1] << 8U | bytes[2] << 16U | static_cast<std::size_t>(bytes[3]) << 24U;
}

void write(std::ostream& out, const Bytes& bytes) {
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
}

}  // namespace

LoopCache::LoopCache(const std::string& folder) : folder_(folder) {
  if (folder.empty()) return;
  std::error_code error;
  fs::create_directories(folder_, error);
  if (!fs::is_directory(folder_)) {
    throw SimError(fmt::format("--cache: the folder {} can't be made", folder));
  }
}

fs::path LoopCache::fileOf(const std::string& what) const {
  return folder_ / fmt::format("{:016x}.loop", std::hash<std::string>{}(what));
}

std::vector<EncodedFrame> LoopCache::load(const std::string& what) const {
  if (folder_.empty()) return {};
  std::ifstream in(fileOf(what), std::ios::binary);
  std::string line;
  if (!std::getline(in, line) || line != what + " " + thisBuild()) return {};
  std::vector<EncodedFrame> frames;
  for (std::size_t length = readLength(in); length != 0; length = readLength(in)) {
    if (!in || length > kMaxFrameBytes) return {};
    EncodedFrame frame;
    frame.bytes.resize(length);
    in.read(reinterpret_cast<char*>(frame.bytes.data()), static_cast<std::streamsize>(length));
    frame.key = isKeyFrame(frame.bytes);
    frames.push_back(std::move(frame));
  }
  return in ? frames : std::vector<EncodedFrame>{};
}

void LoopCache::store(const std::string& what, const std::vector<EncodedFrame>& frames) const {
  static std::atomic<unsigned> count{0};
  if (folder_.empty() || frames.empty()) return;
  std::error_code error;
  const fs::path file = fileOf(what);
  const auto kept = std::distance(fs::directory_iterator(folder_, error), {});
  if (error || (kept >= kFiles && !fs::exists(file, error))) return;
  const fs::path unfinished = fmt::format("{}.{}-{}", file.string(), getpid(), ++count);
  std::ofstream out(unfinished, std::ios::binary);
  out << what << ' ' << thisBuild() << '\n';
  Bytes length;
  for (const EncodedFrame& frame : frames) {
    length.clear();
    appendInt32(length, static_cast<std::int64_t>(frame.bytes.size()));
    write(out, length);
    write(out, frame.bytes);
  }
  write(out, Bytes(kLengthBytes));
  out.close();
  if (out) fs::rename(unfinished, file, error);
  if (!out || error) fs::remove(unfinished, error);
}

}  // namespace quorvid::sim
