// VideoSource: the context record of one call of a video worker.
//
// Touched by the worker's thread only. Texts are borrowed from the caller of the worker.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quorvid {

constexpr std::int32_t kFrameCapacity = 131072;  // of recvBuf and of the consumer's frame buffer
constexpr std::size_t kTagWindowSize = 32;
constexpr std::size_t kSpareSize = 64;

struct VideoSource {
  std::uint8_t* recvBuf;    // kFrameCapacity bytes
  std::uint8_t* tagWindow;  // kTagWindowSize bytes; the first 8 are the car stream's tag window
  std::uint8_t* spareBuf;   // kSpareSize bytes; never used
  const char* host;
  std::int32_t mediaPort;
  std::int32_t cmdPort;  // never used
  std::int32_t channel;
  const char* acc;
  const char* pwd;
  std::int32_t state;
};

extern "C" {

// Allocates and fills the buffers and stores the rest. A buffer that could not be had stays null;
// the caller looks before it uses one.
void InitVideoSource(VideoSource* source, const char* host, std::int32_t mediaPort,
                     std::int32_t cmdPort, std::int32_t channel, const char* acc, const char* pwd);

// Releases recvBuf and tagWindow. spareBuf stays allocated for the life of the process; the record
// itself is its owner's.
void FreeVideoSource(VideoSource* source);

}  // extern "C"

}  // namespace quorvid
