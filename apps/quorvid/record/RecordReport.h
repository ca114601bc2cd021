// RecordReport: what a recording has come to, as sentences. Plain logic.
#pragma once

#include <string>
#include <vector>

#include "apps/quorvid/record/FrameRecorder.h"

namespace quorvid::app {

// "76 frames, 3.04 s, 0.21 MB, 640x480".
std::string figuresOf(const FrameRecorder& recorder);

// What a user should know of the frames, a sentence each.
std::vector<std::string> odditiesOf(const FrameRecorder& recorder);

// Why nothing was written although frames came. limit: the file's limit as the user gave it.
std::string whyNothingWasWritten(const FrameRecorder& recorder, const std::string& limit);

}  // namespace quorvid::app
