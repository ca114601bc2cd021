#include "apps/common/Words.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <numeric>

namespace quorvid::app {

namespace {

using Words = std::vector<std::string>;

constexpr std::size_t kLongestWord = 40;  // nobody meant a word of ours by a longer one

std::string_view withoutHyphens(std::string_view word) {
  return word.substr(std::min(word.find_first_not_of('-'), word.size()));
}

// Letters to change, leave out, add, or swap with the next one to get from one word to the other.
std::size_t slipsBetween(std::string_view a, std::string_view b) {
  std::vector<std::size_t> before;
  std::vector<std::size_t> last(b.size() + 1);
  std::iota(last.begin(), last.end(), 0);
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::vector<std::size_t> now{i + 1};
    for (std::size_t j = 0; j < b.size(); ++j) {
      std::size_t least = std::min({last[j + 1] + 1, now[j] + 1, last[j] + (a[i] != b[j])});
      const bool swapped = i > 0 && j > 0 && a[i] == b[j - 1] && a[i - 1] == b[j];
      if (swapped) least = std::min(least, before[j - 1] + 1);
      now.push_back(least);
    }
    before = std::move(last);
    last = std::move(now);
  }
  return last.back();
}

}  // namespace

std::string nearestWord(std::string_view word, const Words& words) {
  const std::string_view bare = withoutHyphens(word);
  if (bare.size() > kLongestWord) return {};
  std::string nearest;
  std::size_t fewest = bare.size() < 4 ? 2 : 3;  // one more than is taken for a slip
  for (const std::string& candidate : words) {
    const std::string_view bareCandidate = withoutHyphens(candidate);
    const bool isBegun = bare.size() > 2 && bareCandidate.starts_with(bare);
    const std::size_t slips = isBegun ? 1 : slipsBetween(bare, bareCandidate);
    if (slips > fewest || slips >= bareCandidate.size()) continue;
    nearest = slips < fewest ? candidate : "";  // one of two as near would be a guess
    fewest = slips;
  }
  return nearest;
}

std::string unknownWord(const std::string& kind, const std::string& word, const Words& words) {
  const std::string nearest = nearestWord(word, words);
  const std::string start = fmt::format("unknown {} '{}': ", kind, word);
  if (!nearest.empty()) return start + fmt::format("did you mean '{}'?", nearest);
  return start + fmt::format("there are {}", fmt::join(words, ", "));
}

}  // namespace quorvid::app
