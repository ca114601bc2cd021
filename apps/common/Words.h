// A wrong word, named with the nearest right one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorvid::app {

// The word that was most likely meant: one or two slips away, or begun with it. Empty when none is
// near, or two are. Hyphens in front don't count.
std::string nearestWord(std::string_view word, const std::vector<std::string>& words);

// "unknown path 'trian': did you mean 'train'?", or all words where none is near.
std::string unknownWord(const std::string& kind, const std::string& word,
                        const std::vector<std::string>& words);

}  // namespace quorvid::app
