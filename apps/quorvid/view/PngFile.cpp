#include "apps/quorvid/view/PngFile.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

#include "apps/quorvid/view/DrawingLibraries.h"

namespace quorvid::app {

bool writePng(const WindowPicture& picture, const std::string& fileName, std::string& error) {
  if (error = pngLibrary.load(); !error.empty()) return false;
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, CloseFile> file(std::fopen(fileName.c_str(), "wbe"));
  if (!file) {
    error = "can't write " + fileName + ": " + std::strerror(errno);
    return false;
  }
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.width);
  image.height = static_cast<png_uint_32>(picture.height);
  image.format = PNG_FORMAT_RGB;
  const bool written = png_image_write_to_stdio(&image, file.get(), 0, picture.rgb.data(),
                                                picture.width * 3, nullptr) != 0;
  if (written && std::fflush(file.get()) == 0) return true;
  error = "can't write " + fileName + ": " + (written ? std::strerror(errno) : image.message);
  struct stat info {};
  if (fstat(fileno(file.get()), &info) == 0 && S_ISREG(info.st_mode)) unlink(fileName.c_str());
  return false;
}

std::string freeSnapshotName(const std::string& what) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char time[40];
  std::strftime(time, sizeof time, "quorvid-%Y%m%d-%H%M%S", &local);
  const std::string stem = time + what;
  std::string name = stem + ".png";
  struct stat info {};
  for (int n = 2; n < 100 && stat(name.c_str(), &info) == 0; ++n) {
    name = stem + "-" + std::to_string(n) + ".png";
  }
  return name;
}

std::string fileNameOf(const StreamTarget& target) {
  std::string name;
  for (const char byte : target.device) {
    const bool plain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                       (byte >= '0' && byte <= '9') || byte == '-' || byte == '_';
    name += plain ? std::string(1, byte) : fmt::format("%{:02X}", static_cast<unsigned char>(byte));
  }
  return fmt::format("{}-ch{}", name, target.channel);
}

}  // namespace quorvid::app
