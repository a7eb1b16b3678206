#include "kestrelctl/suggestion.h"

#include <algorithm>
#include <cstddef>

namespace kestrelvisor::ctl {
namespace {

// Number of characters to insert, remove, replace or swap with their neighbour.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::vector<std::size_t>> cost(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) cost[i][0] = i;
  for (std::size_t j = 0; j <= b.size(); ++j) cost[0][j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const bool same = a[i - 1] == b[j - 1];
      cost[i][j] =
          std::min({cost[i - 1][j] + 1, cost[i][j - 1] + 1, cost[i - 1][j - 1] + (same ? 0U : 1U)});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
    }
  }
  return cost[a.size()][b.size()];
}

}  // namespace

std::string nearestWord(std::string_view word, const std::vector<std::string>& candidates) {
  constexpr std::size_t kLongestWord = 64;  // nobody mistypes more
  if (word.size() > kLongestWord) return {};
  std::string nearest;
  std::size_t best = 0;
  for (const std::string& candidate : candidates) {
    // "enc" and "disable" are beginnings, not typing errors.
    const bool beginning = word.size() >= 2 && candidate.compare(0, word.size(), word) == 0;
    const std::size_t steps = beginning ? 1 : distance(word, candidate);
    const std::size_t tolerated = std::max<std::size_t>(1, candidate.size() / 3);
    if (steps > tolerated || (!nearest.empty() && steps >= best)) continue;
    nearest = candidate;
    best = steps;
  }
  return nearest;
}

}  // namespace kestrelvisor::ctl
