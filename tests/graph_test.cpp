// The layout of the commit graph, on graphs made at random.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "graph/lanes.h"

namespace uwugit::runner {

TEST(LaneLayout, KeepsEveryEdgeInOneLaneFromChildToParent) {
  std::mt19937 random(1);
  const auto below = [&random](unsigned n) { return static_cast<unsigned>(random() % n); };
  for (unsigned graph = 0; graph < 2000; ++graph) {
    const CommitNumber count = 1 + below(60);
    std::vector<std::vector<CommitNumber>> parents(count);  // beyond the last row as well
    std::vector<CommitNumber> firsts(count, kNoCommit);
    for (CommitNumber row = 0; row < count; ++row) {
      for (unsigned i = below(7) == 0 ? 9 : below(3); i > 0; --i) {
        parents[row].push_back(row + 1 + below(graph % 30 + 1));
      }
      if (!parents[row].empty()) firsts[row] = parents[row].front();
    }
    const CommitNumber head = graph % 3 == 0 ? kNoCommit : below(count);
    const auto is_main = find_main(firsts, head);
    EXPECT_TRUE(head == kNoCommit || is_main[head]);
    LaneLayout layout(is_main);
    std::vector<CommitNumber> border;   // what each lane leads to
    std::multiset<CommitNumber> edges;  // the parents of all edges that cross the border
    for (CommitNumber row = 0; row < count; ++row) {
      SCOPED_TRACE(testing::Message() << "graph " << graph << ", row " << row);
      const LaneRow& lanes = layout.add(row, parents[row]);
      border.resize(lanes.above.size(), kNoCommit);
      ASSERT_EQ(lanes.above, border);
      EXPECT_EQ(lanes.lane == 0, is_main[row]);
      EXPECT_EQ(border[lanes.lane], edges.count(row) ? row : kNoCommit);
      std::replace(border.begin(), border.end(), row, kNoCommit);
      std::set<CommitNumber> reached = {border[lanes.lane] = lanes.below[lanes.lane]};
      for (const std::size_t lane : lanes.to) {
        EXPECT_TRUE(lanes.above[lane] == kNoCommit || lanes.above[lane] == lanes.below[lane]);
        reached.insert(border[lane] = lanes.below[lane]);
      }
      reached.erase(kNoCommit);
      EXPECT_EQ(reached, std::set(parents[row].begin(), parents[row].end()));
      ASSERT_EQ(lanes.below, border) << "what does not end, begin or join goes straight on";
      edges.erase(row);
      edges.insert(parents[row].begin(), parents[row].end());
      EXPECT_LE(border.size() - std::size_t(std::count(border.begin(), border.end(), kNoCommit)),
                edges.size());
    }
  }
}

}  // namespace uwugit::runner
