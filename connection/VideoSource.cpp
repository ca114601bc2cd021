#include "connection/VideoSource.h"

#include <cstdlib>
#include <cstring>

namespace quorvid {
namespace {

std::uint8_t* allocateFilled(std::size_t size, int value) {
  auto* buffer = static_cast<std::uint8_t*>(malloc(size));
  if (buffer != nullptr) memset(buffer, value, size);
  return buffer;
}

// A function of its own, so that a leak checker can tell this block from the two that are released.
[[gnu::noinline]] void allocateSpareBuf(VideoSource* source) {
  source->spareBuf = static_cast<std::uint8_t*>(calloc(1, kSpareSize));
}

}  // namespace

extern "C" void InitVideoSource(VideoSource* source, const char* host, std::int32_t mediaPort,
                                std::int32_t cmdPort, std::int32_t channel, const char* acc,
                                const char* pwd) {
  source->recvBuf = allocateFilled(kFrameCapacity, 0);
  source->tagWindow = allocateFilled(kTagWindowSize, 0xFF);
  allocateSpareBuf(source);
  source->host = host;
  source->mediaPort = mediaPort;
  source->cmdPort = cmdPort;
  source->channel = channel;
  source->acc = acc;
  source->pwd = pwd;
  source->state = 2;
}

extern "C" void FreeVideoSource(VideoSource* source) {
  free(source->recvBuf);
  free(source->tagWindow);
}

}  // namespace quorvid
