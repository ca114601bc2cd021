// RecordReport: what `quorvid record` says while it runs and at its end. Plain values in, text out.
#pragma once

#include <string>
#include <vector>

#include "apps/common/Target.h"
#include "apps/quorvid/record/FrameRecorder.h"

namespace quorvid::app {

// One line of JSON, `seconds` after the command's start. trouble: why no frames come, or empty.
std::string recordStatsLine(double seconds, const FrameRecorder& recorder,
                            const std::string& trouble);

// A line in words.
std::string recordText(const FrameRecorder& recorder);
// error: the sentence that goes to standard error, or empty.
std::string recordJson(const StreamTarget& target, const FrameRecorder& recorder,
                       const std::string& error, bool inOneLine);

}  // namespace quorvid::app
