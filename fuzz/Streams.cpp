#include "fuzz/Streams.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string_view>

#include "live/StreamDecoder.h"

namespace quorvid::fuzz {
namespace {

Stream load(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const Bytes all{std::istreambuf_iterator<char>(file), {}};
  Stream stream{path.stem(), {}, {}};
  StreamDecoder decoder(PictureForm::AsDecoded);
  for (std::size_t at = 0; at + 4 <= all.size();) {
    std::size_t size = 0;
    for (int i = 0; i < 4; ++i) size |= static_cast<std::size_t>(all[at++]) << 8 * i;
    require(size <= all.size() - at);
    stream.frames.emplace_back(&all[at], &all[at] + size);
    at += size;
    Frame frame = makeFrame(stream.frames.back(), 0);
    const bool isThere = decoder.decode(frame) == StreamDecoder::Outcome::Picture;
    stream.pictures.push_back(isThere ? std::optional(hashOf(decoder.picture().get()))
                                      : std::nullopt);
  }
  return stream;
}

}  // namespace

const std::vector<Stream>& streams() {
  static const std::vector<Stream> all = [] {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator("seeds/streams")) {
      paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    std::vector<Stream> loaded;
    std::transform(paths.begin(), paths.end(), std::back_inserter(loaded), load);
    return loaded;
  }();
  return all;
}

std::size_t hashOf(CVPixelBufferRef picture) {
  std::size_t sum = CVPixelBufferGetWidth(picture);
  for (std::size_t plane = 0; plane < CVPixelBufferGetPlaneCount(picture); ++plane) {
    const std::uint8_t* row = CVPixelBufferGetBaseAddressOfPlane(picture, plane);
    for (auto rows = CVPixelBufferGetHeightOfPlane(picture, plane); rows > 0; --rows) {
      const std::string_view bytes(reinterpret_cast<const char*>(row),
                                   CVPixelBufferGetWidthOfPlane(picture, plane));
      sum = sum * 31 + std::hash<std::string_view>()(bytes);
      row += CVPixelBufferGetBytesPerRowOfPlane(picture, plane);
    }
  }
  return sum;
}

}  // namespace quorvid::fuzz
