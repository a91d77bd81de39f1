#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "DataStore/contract/QMREnumerable.h"

namespace {

TEST(QMRArrayEnumerable, WalksInOrderAndCanBeWalkedAgain) {
    auto numbers = QMRMakeArrayEnumerable<int>({3, 1, 2});
    EXPECT_EQ(numbers->toVector(), (std::vector<int>{3, 1, 2}));
    std::vector<int> second;
    for (int n : *numbers) second.push_back(n);
    EXPECT_EQ(second, (std::vector<int>{3, 1, 2}));
    EXPECT_TRUE(QMRMakeArrayEnumerable<int>({})->toVector().empty());
}

// Produces its items one at a time, as a paging back-end does, and only once.
class CountingEnumerable : public QMREnumerable<int> {
public:
    int produced = 0;

protected:
    std::optional<int> nextObject() override {
        if (produced == 3) return std::nullopt;
        return ++produced;
    }
};

TEST(QMREnumerable, LazyCollectionProducesItemsOnlyAsTheCallerWalks) {
    CountingEnumerable lazy;
    auto it = lazy.begin();
    EXPECT_EQ(lazy.produced, 1);
    EXPECT_EQ(*it, 1);
    ++it;
    EXPECT_EQ(lazy.produced, 2);
    std::vector<int> rest;
    for (; it != lazy.end(); ++it) rest.push_back(*it);
    EXPECT_EQ(rest, (std::vector<int>{2, 3}));
    EXPECT_TRUE(lazy.toVector().empty());
}

}  // namespace
