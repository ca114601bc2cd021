#include "bench/ScreenCode.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace quorvid::bench {
namespace {

constexpr std::size_t kHeaderWords = 25, kBytesPerPixel = 4, kColorSize = 12;
constexpr std::uint8_t kHalf = 126;

// Of the X window dump's header, all words with the most significant byte first.
enum Word : std::size_t { kHeaderSize = 0, kWidth = 4, kHeight = 5, kPixelBits = 11, kRow = 12 };
constexpr std::size_t kColors = 19;

std::uint32_t word(const volatile std::uint8_t* map, std::size_t index) {
  const volatile std::uint8_t* const at = map + 4 * index;
  return static_cast<std::uint32_t>(at[0]) << 24 | static_cast<std::uint32_t>(at[1]) << 16 |
         static_cast<std::uint32_t>(at[2]) << 8 | at[3];
}

}  // namespace

ScreenCode::ScreenCode(const std::string& file, const ScreenArea& area) {
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat status {};
  if (descriptor < 0 || ::fstat(descriptor, &status) != 0 ||
      static_cast<std::size_t>(status.st_size) < 4 * kHeaderWords) {
    if (descriptor >= 0) ::close(descriptor);
    throw std::runtime_error(file + ": no framebuffer");
  }
  size_ = static_cast<std::size_t>(status.st_size);
  void* const mapped = ::mmap(nullptr, size_, PROT_READ, MAP_SHARED, descriptor, 0);
  ::close(descriptor);
  if (mapped == MAP_FAILED) throw std::runtime_error(file + ": can't be mapped");
  map_ = static_cast<const volatile std::uint8_t*>(mapped);
  const std::size_t first = word(map_, kHeaderSize) + kColorSize * word(map_, kColors);
  const std::size_t row = word(map_, kRow);
  if (word(map_, kPixelBits) != 8 * kBytesPerPixel ||
      area.x + area.width > static_cast<int>(word(map_, kWidth)) ||
      area.y + area.height > static_cast<int>(word(map_, kHeight)) ||
      first + row * word(map_, kHeight) > size_) {
    ::munmap(mapped, size_);
    throw std::runtime_error(file + ": the picture is not on this screen");
  }
  for (std::size_t i = 0; i < cells_.size(); ++i) {
    const sim::CodePixel at = sim::codePixel(i, area.width, area.height);
    places_.push_back(first + static_cast<std::size_t>(area.y + at.y) * row +
                      static_cast<std::size_t>(area.x + at.x) * kBytesPerPixel + 1);
  }
}

ScreenCode::~ScreenCode() {
  ::munmap(const_cast<std::uint8_t*>(map_), size_);
}

std::optional<std::uint16_t> ScreenCode::look() {
  sim::CodeCells cells{};
  for (std::size_t i = 0; i < cells.size(); ++i) cells[i] = map_[places_[i]] > kHalf;
  if (cells == cells_) return std::nullopt;
  cells_ = cells;
  const auto number = sim::counterIn(cells);
  if (!number || number == last_) return std::nullopt;
  last_ = number;
  return number;
}

}  // namespace quorvid::bench
