#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "sim/media/Encoder.h"

namespace quorvid::sim {

// Encoded loops in a folder, one file each and 64 at most, so that the next start need not encode
// them again. A file is made by this very build of the program: what another one wrote is encoded
// anew and replaced.
//
// Calls on any thread, and in several programs at a time: a file is there whole or not at all.
class LoopCache {
 public:
  // folder: made when it isn't there; empty: nothing is kept.
  // @throws SimError when the folder can't be made
  explicit LoopCache(const std::string& folder);

  // @param what all that the loop's frames depend on, as a line of text
  // @return the loop's frames; none when it isn't there, or isn't whole
  std::vector<EncodedFrame> load(const std::string& what) const;
  // A loop that can't be kept is no failure: it is encoded again the next time.
  void store(const std::string& what, const std::vector<EncodedFrame>& frames) const;

 private:
  std::filesystem::path fileOf(const std::string& what) const;

  std::filesystem::path folder_;
};

}  // namespace quorvid::sim
