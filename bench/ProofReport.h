// ProofReport: what a run of picture_proof found, as JSON.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "SourceCheck.h"
#include "quorvid/live/LiveStatus.h"

namespace quorvid::bench {

// What kept the loop from turning, or the view from being seen.
struct Pause {
  std::string kind;
  double length = 0, end = 0;  // end: Unix time
};

struct ProofResult {
  std::vector<CheckedPicture> pictures;
  std::vector<Pause> pauses;
  LiveFigures figures;  // of the first view
  LiveState state = LiveState::Idle;
  std::uint64_t shownHidden = 0;  // pictures, while the view was hidden
  double stopping = 0;            // seconds from stop() until the stream's threads are gone
};

nlohmann::ordered_json reportOf(const ProofResult& result);

}  // namespace quorvid::bench
