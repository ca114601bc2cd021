// A stand-in for the platform's decompression that records every call with its arguments.
#pragma once

#include <string>
#include <vector>

#include "port/VideoDecompression.h"

namespace quorvid::test {

struct Recording {
  std::vector<std::string> calls;     // in order, for example "release sample"
  std::vector<std::string> log;       // the decoder's log lines
  std::string spsBytes, ppsBytes;     // as given to the latest format description
  const void* memoryBlock = nullptr;  // of the latest block buffer
  void* callbackRefCon = nullptr;
  CVPixelBufferRef pictureToGive = nullptr;
  // What the operations answer.
  OSStatus formatStatus = 0, blockStatus = 0, sampleStatus = 0, decodeStatus = 0;
  bool sessionFails = false;
};

// Of the running test; resetRecording() also sends the log here.
Recording& recording();
void resetRecording();

}  // namespace quorvid::test
