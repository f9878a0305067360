#include "sections/cut_off.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

TEST(CutOffOf, TakesTheNumbersOfTheSetting) {
  const CutOff cut_off = CutOffOf({1, 20, 3, 1});
  EXPECT_EQ(cut_off.top, 20);
  EXPECT_EQ(cut_off.greater, 3);
  EXPECT_TRUE(cut_off.percent);
  EXPECT_FALSE(CutOffOf({1, 20, 3, 0}).percent);
}

TEST(IsUnset, OnlyWhenBothNumbersAreMinusOne) {
  EXPECT_TRUE(IsUnset({-1, false, -1}));
  EXPECT_TRUE(IsUnset({-1, true, -1}));
  EXPECT_FALSE(IsUnset({-1, false, 0}));
  EXPECT_FALSE(IsUnset({0, false, -1}));
}

TEST(RowsAllowed, TopIsANumberOrAPercentageRoundedDown) {
  EXPECT_EQ(RowsAllowed({5, false, 0}, 12), 5U);
  EXPECT_EQ(RowsAllowed({10, true, 0}, 55), 5U);
  EXPECT_EQ(RowsAllowed({1, true, 0}, 99), 0U);
  EXPECT_EQ(RowsAllowed({100, true, 0}, 55), 55U);
  EXPECT_GE(RowsAllowed({INT_MAX, true, 0}, 55), 55U);
}

TEST(RowsAllowed, ZeroAllowsAllAndANegativeNumberNone) {
  EXPECT_EQ(RowsAllowed({0, false, 9}, 12), 12U);
  EXPECT_EQ(RowsAllowed({0, true, 9}, 12), 12U);
  EXPECT_EQ(RowsAllowed({-1, false, 0}, 12), 0U);
  EXPECT_EQ(RowsAllowed({INT_MIN, true, 0}, 12), 0U);
}

TEST(AllShown, FollowsTheCutOff) {
  struct Case {
    CutOff cut_off;
    bool all;
  };
  for (const Case& c : {
           Case{{-1, false, -1}, true},
           Case{{0, false, 0}, true},
           Case{{0, false, 1}, true},
           Case{{20, false, 0}, true},
           Case{{19, false, 0}, false},
           Case{{0, false, 2}, false},
           Case{{-1, false, 2}, false},
           Case{{-1, false, 0}, true},
           Case{{99, true, 0}, false},
           Case{{100, true, 0}, true},
           // deliberate: whatever greater hides
           Case{{21, false, 5}, true},
           Case{{100, true, 9}, true},
       }) {
    SCOPED_TRACE(std::to_string(c.cut_off.top) + " " + std::to_string(c.cut_off.percent) + " " +
                 std::to_string(c.cut_off.greater));
    EXPECT_EQ(AllShown(c.cut_off, 20), c.all);
  }
}

TEST(Share, IsAPartOfOne) {
  EXPECT_DOUBLE_EQ(Share(1, 4), 0.25);
  EXPECT_DOUBLE_EQ(Share(3, 2), 1.5);
  EXPECT_DOUBLE_EQ(Share(int64_t{1} << 40, int64_t{1} << 42), 0.25);
}

TEST(Share, OfNothingIsNothing) {
  EXPECT_EQ(Share(5, 0), 0.0);
}

// ---- Items ----

class Items : public testing::Test {
 protected:
  Items() { init_list(list_, info_, "Items"); }
  ~Items() override {
    destroy(list_);
    destroyListInfo();
  }

  void Count(const char* key, int times) {
    for (; times > 0; --times) {
      add_item(list_, info_, key, {}, nullptr, false);
    }
  }

  // The items up to a cut-off, "key=count " each.
  std::string Upto(const CutOff& cut_off) { return Taken(OpenItems(list_, cut_off)); }
  std::string UptoByKey(const CutOff& cut_off) { return Taken(OpenItemsByKey(list_, cut_off)); }

  static std::string Taken(ItemCursor cursor) {
    std::string text;
    while (const ListItem* item = NextItem(cursor)) {
      text.append(item->key()).append("=").append(std::to_string(item->count)).append(" ");
    }
    EXPECT_EQ(NextItem(cursor), nullptr) << "the end stays the end";
    return text;
  }

  List list_{};
  ListInfo* info_ = nullptr;
};

TEST_F(Items, ComeByRankTiesInDescendingOrder) {
  Count("a", 1);
  Count("c", 2);
  Count("b", 3);
  Count("d", 2);
  EXPECT_EQ(Upto(kUncut), "b=3 d=2 c=2 a=1 ");
}

TEST_F(Items, EitherNumberEndsThem) {
  Count("a", 4);
  Count("b", 3);
  Count("c", 2);
  Count("d", 1);
  EXPECT_EQ(Upto({2, false, 0}), "a=4 b=3 ");
  EXPECT_EQ(Upto({0, false, 2}), "a=4 b=3 c=2 ");
  EXPECT_EQ(Upto({3, false, 3}), "a=4 b=3 ");
  EXPECT_EQ(Upto({1, false, 2}), "a=4 ");
  EXPECT_EQ(Upto({50, true, 0}), "a=4 b=3 ");
  EXPECT_EQ(Upto({-1, false, 0}), "");
}

TEST_F(Items, ByKeyAreThoseOfTheRanksThatAreShown) {
  Count("d", 4);
  Count("b", 3);
  Count("c", 3);
  Count("a", 1);
  EXPECT_EQ(UptoByKey(kUncut), "a=1 b=3 c=3 d=4 ");
  EXPECT_EQ(UptoByKey({2, false, 0}), "c=3 d=4 ") << "of equal counts the greater key ranks first";
  EXPECT_EQ(UptoByKey({3, false, 0}), "b=3 c=3 d=4 ");
  EXPECT_EQ(UptoByKey({50, true, 0}), "c=3 d=4 ");
  EXPECT_EQ(UptoByKey({0, false, 3}), "b=3 c=3 d=4 ");
  EXPECT_EQ(UptoByKey({2, false, 4}), "d=4 ");
  EXPECT_EQ(UptoByKey({-1, false, 0}), "");
}

TEST_F(Items, CountsBeyondTheLimitOfTheSortAreNotReachedBehindASmallerOne) {
  Count("busy", 1);
  KeyOrder(list_)->count = 1000000;
  Count("calm", 2);
  EXPECT_EQ(Upto(kUncut), "calm=2 busy=1000000 ");
  EXPECT_EQ(Upto({0, false, 3}), "");
}

TEST_F(Items, UncutShowsCountsBelowZero) {
  Count("wrapped", 1);
  KeyOrder(list_)->count = -3;
  EXPECT_EQ(Upto(kUncut), "wrapped=-3 ");
  EXPECT_EQ(Upto({0, false, 0}), "");
}

TEST_F(Items, EmptyListHasNone) {
  EXPECT_EQ(Upto(kUncut), "");
}

}  // namespace
