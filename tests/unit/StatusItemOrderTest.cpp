// Which status item each of the notification area's buttons shows.
#include "platform/x11/StatusItemOrder.h"

#include <gtest/gtest.h>

using StatusItemOrder::match;
using Order = QList<qsizetype>;

TEST(StatusItemOrder, followsTheKnownListThenNewestFirstForSharedIds)
{
    // Registered a, b, c; the panel learnt them in that order and lists the newest first.
    EXPECT_EQ(match(3, {"a", "b", "c"}, {"c", "b", "a"}, {}), (Order{2, 1, 0}));
    // A name the panel has not saved yet comes after the known ones.
    EXPECT_EQ(match(2, {"new", "a"}, {"a"}, {}), (Order{1, 0}));
    // Two instances of one application: the later one is shown first.
    EXPECT_EQ(match(3, {"x", "y", "x"}, {"y", "x"}, {}), (Order{1, 2, 0}));
}

TEST(StatusItemOrder, hiddenItemsCountOnlyWhenShown)
{
    const QStringList ids{"a", "b", "c"};
    const QStringList known{"c", "b", "a"};
    EXPECT_EQ(match(2, ids, known, {"b"}), (Order{2, 0}));
    // The overflow arrow expanded: every item has its button.
    EXPECT_EQ(match(3, ids, known, {"b"}), (Order{2, 1, 0}));
    EXPECT_TRUE(match(1, ids, known, {"b"}).isEmpty());
}

TEST(StatusItemOrder, uncertainMatchesGiveNothing)
{
    // An item that did not answer has no place in the order.
    EXPECT_TRUE(match(2, {"a", ""}, {"a"}, {}).isEmpty());
    // Without the panel's list only a single item can be placed.
    EXPECT_EQ(match(1, {"a"}, {}, {}), (Order{0}));
    EXPECT_TRUE(match(2, {"a", "b"}, {}, {}).isEmpty());
    EXPECT_TRUE(match(3, {"a", "b"}, {"a", "b"}, {}).isEmpty());
}
