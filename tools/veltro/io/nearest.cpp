#include "nearest.hpp"

#include <algorithm>

namespace veltro::tool {
namespace {

char lower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

/// Damerau and Levenshtein's distance of neighbours exchanged at most once.
std::size_t distance(std::string_view from, std::string_view to) {
  std::vector<std::vector<std::size_t>> cost(from.size() + 1,
                                             std::vector<std::size_t>(to.size() + 1));
  for (std::size_t i = 0; i <= from.size(); ++i)
    for (std::size_t j = 0; j <= to.size(); ++j) {
      if (i == 0 || j == 0) {
        cost[i][j] = i + j;
        continue;
      }
      const bool same = lower(from[i - 1]) == lower(to[j - 1]);
      cost[i][j] =
          std::min({cost[i - 1][j] + 1, cost[i][j - 1] + 1, cost[i - 1][j - 1] + (same ? 0 : 1)});
      if (i > 1 && j > 1 && lower(from[i - 1]) == lower(to[j - 2]) &&
          lower(from[i - 2]) == lower(to[j - 1]))
        cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
    }
  return cost[from.size()][to.size()];
}

} // namespace

std::string nearest(std::string_view word, const std::vector<std::string> &words) {
  std::string best;
  std::size_t least = std::max<std::size_t>(word.size() / 2, 1) + 1;
  for (const std::string &candidate : words) {
    if (const std::size_t far = distance(word, candidate); far < least) {
      least = far;
      best = candidate;
    }
  }
  return best;
}

} // namespace veltro::tool
