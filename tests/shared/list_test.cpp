#include "shared/list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

// Counts the live instances so that tests can see who deletes what.
struct CountedItem : NumberItem {
  static int live;
  explicit CountedItem(int32_t n) : NumberItem(n) { live++; }
  ~CountedItem() override { live--; }
};
int CountedItem::live = 0;

template <class AnyList>
std::vector<int32_t> numbers(AnyList& list, long count) {
  std::vector<int32_t> out;
  for (long i = 0; i < count; i++) out.push_back(static_cast<NumberItem*>(list.get(i))->number);
  return out;
}
std::vector<int32_t> numbers(List& list) { return numbers(list, list.totalElements); }

std::vector<long> chunkCounts(List& list) {
  std::vector<long> out;
  for (ListChunk* c = list.firstListChunk; c; c = c->nextListChunk) out.push_back(c->numberElements);
  return out;
}

TEST(ItemTest, EqualityAndComparisonRules) {
  StringItem a("abc"), b("abc"), upper("ABC");
  NumberItem n1(1), n1b(1), n2(2);
  Item plain;
  EXPECT_TRUE(a.isEqual(&b));
  EXPECT_FALSE(a.isEqual(&upper));
  EXPECT_FALSE(a.isEqual(nullptr));
  EXPECT_TRUE(plain.isEqual(&plain));
  EXPECT_FALSE(plain.isEqual(&a));

  // Same printed text, different kinds: never equal.
  StringItem one("1");
  EXPECT_FALSE(one.isEqual(&n1));
  EXPECT_FALSE(n1.isEqual(&one));
  EXPECT_TRUE(n1.isEqual(&n1b));

  // compare is the sign of this minus other, with 32-bit wrap-around.
  EXPECT_EQ(n1.compare(&n2), -1);
  EXPECT_EQ(n2.compare(&n1), 1);
  EXPECT_EQ(n1.compare(&n1b), 0);
  NumberItem least(INT32_MIN), plusOne(1);
  EXPECT_EQ(least.compare(&plusOne), 1);  // 1 - INT32_MIN wraps to a negative difference
  EXPECT_EQ(a.compare(&upper), 0);        // strings never order

  char buf[kItemPrintBufferSize];
  plain.printToString(buf);
  EXPECT_STREQ(buf, "item");
  plain.printToString(nullptr);

  StringItem fromNull(nullptr);
  EXPECT_STREQ(fromNull.string, "");
  fromNull.setString("x");
  fromNull.setString(nullptr);
  EXPECT_STREQ(fromNull.string, "");
}

TEST(FixedListTest, FindLooksAtFirstOnlyAndOverflowIsDropped) {
  FixedList list(3, TRUE, EqualCompare);
  auto* a = new NumberItem(1);
  auto* b = new NumberItem(2);
  list.include(a);
  list.include(b);
  NumberItem probe(2);
  EXPECT_FALSE(list.find(&probe));  // stands at position 1
  EXPECT_EQ(list.findi(&probe), 1);
  EXPECT_EQ(list.findItem(&probe), b);
  NumberItem first(1);
  EXPECT_TRUE(list.find(&first));

  list.inserti(0, new NumberItem(0));
  NumberItem overflow(9);
  list.include(&overflow);  // full: not stored
  list.inserti(0, &overflow);
  EXPECT_EQ(list.numberElements, 3);
  EXPECT_EQ(list.findi(&overflow), -1);
  EXPECT_EQ(list.get(3), nullptr);

  EXPECT_EQ(list.removei(3), nullptr);
  EXPECT_EQ(list.removei(-1), nullptr);
  EXPECT_EQ(list.remove(nullptr), nullptr);
  ItemPtr removed = list.remove(&first);
  EXPECT_EQ(removed, a);
  delete removed;
  EXPECT_EQ(static_cast<NumberItem*>(list.get(0))->number, 0);
  EXPECT_EQ(list.get(1), b);

  EXPECT_EQ(list.replacei(5, &overflow), nullptr);
  NumberItem replacement(2);
  // replace swaps in the argument and hands back the matching element.
  EXPECT_EQ(list.replace(&replacement), b);
  delete b;
  EXPECT_EQ(list.removei(1), &replacement);

  // SameCompare matches the very element only.
  FixedList same(4, FALSE, SameCompare);
  NumberItem twin(2);
  same.include(&replacement);
  EXPECT_EQ(same.findi(&twin), -1);
  EXPECT_EQ(same.findi(&replacement), 0);
}

TEST(ListTest, EmptyListAndRemoveAsymmetry) {
  List list(kStandardChunkSize, TRUE, EqualCompare);
  ASSERT_NE(list.firstListChunk, nullptr);
  EXPECT_EQ(list.get(0), nullptr);
  NumberItem probe(1);
  EXPECT_EQ(list.findi(&probe), -1);
  list.removeAll();  // nothing to do

  // remove frees an emptied chunk; the next include makes a new one.
  auto* one = new NumberItem(1);
  list.include(one);
  EXPECT_EQ(list.remove(&probe), one);
  delete one;
  EXPECT_EQ(list.firstListChunk, nullptr);
  EXPECT_EQ(list.totalElements, 0);
  long index = 7;
  EXPECT_EQ(list.mapByPosition(0, &index), nullptr);
  EXPECT_EQ(index, -1);
  EXPECT_EQ(list.get(0), nullptr);
  list.include(new NumberItem(2));
  ASSERT_NE(list.firstListChunk, nullptr);
  EXPECT_EQ(numbers(list), std::vector<int32_t>{2});

  // removei keeps the emptied chunk.
  ListChunk* chunk = list.firstListChunk;
  delete list.removei(0);
  EXPECT_EQ(list.firstListChunk, chunk);
  EXPECT_EQ(list.totalElements, 0);
}

TEST(ListTest, InsertRipplesOneChunkAtATime) {
  List list(4, TRUE, EqualCompare);
  for (int i = 1; i <= 8; i++) list.include(new NumberItem(i));
  EXPECT_EQ(chunkCounts(list), (std::vector<long>{4, 4}));

  list.inserti(0, new NumberItem(0));
  EXPECT_EQ(chunkCounts(list), (std::vector<long>{4, 4, 1}));
  EXPECT_EQ(numbers(list), (std::vector<int32_t>{0, 1, 2, 3, 4, 5, 6, 7, 8}));

  // A hole in the middle chunk stops the ripple there.
  NumberItem five(5);
  delete list.removei(list.findi(&five));
  EXPECT_EQ(chunkCounts(list), (std::vector<long>{4, 3, 1}));
  list.inserti(1, new NumberItem(10));
  EXPECT_EQ(chunkCounts(list), (std::vector<long>{4, 4, 1}));
  EXPECT_EQ(numbers(list), (std::vector<int32_t>{0, 10, 1, 2, 3, 4, 6, 7, 8}));

  // Insert before an item, before a missing item (appends) and at the end.
  NumberItem seven(7), missing(99);
  list.insert(&seven, new NumberItem(70));
  list.insert(&missing, new NumberItem(100));
  list.inserti(list.totalElements, new NumberItem(101));
  EXPECT_EQ(numbers(list), (std::vector<int32_t>{0, 10, 1, 2, 3, 4, 6, 70, 7, 8, 100, 101}));
  EXPECT_EQ(list.findi(&seven), 8);
}

TEST(ListTest, RemoveAllKeepsChunksAndPositionsSkipEmptyOnes) {
  CountedItem::live = 0;
  {
    List list(kStandardChunkSize, TRUE, EqualCompare);
    for (int i = 0; i < 40; i++) list.include(new CountedItem(i));
    EXPECT_EQ(chunkCounts(list), (std::vector<long>{32, 8}));
    list.removeAll();
    EXPECT_EQ(CountedItem::live, 0);
    EXPECT_EQ(chunkCounts(list), (std::vector<long>{0, 0}));

    for (int i = 0; i < 33; i++) list.include(new CountedItem(i));
    EXPECT_EQ(chunkCounts(list), (std::vector<long>{0, 32, 1}));
    EXPECT_EQ(static_cast<NumberItem*>(list.get(0))->number, 0);
    EXPECT_EQ(static_cast<NumberItem*>(list.get(32))->number, 32);
    CountedItem probe(32);
    EXPECT_EQ(list.findi(&probe), 32);

    // replace and replacei hand the old element back.
    auto* other = new CountedItem(32);
    ItemPtr old = list.replace(other);
    EXPECT_NE(old, other);
    delete old;
    EXPECT_EQ(list.replacei(33, other), nullptr);
    delete list.replacei(0, new CountedItem(-5));
    EXPECT_EQ(static_cast<NumberItem*>(list.get(0))->number, -5);
    CountedItem absent(1000);
    EXPECT_EQ(list.replace(new CountedItem(1000)), nullptr);  // appended
    EXPECT_EQ(list.findi(&absent), 33);
  }
  // The owning list deleted every element it held at the end; a list that
  // does not own its elements deletes none.
  EXPECT_EQ(CountedItem::live, 0);
  CountedItem kept(1);
  {
    List list(2, FALSE, EqualCompare);
    for (int i = 0; i < 5; i++) list.include(&kept);
    list.removeAll();
    list.include(&kept);
  }
  EXPECT_EQ(CountedItem::live, 1);
}

TEST(ListTest, SortSenseIsKept) {
  // Many values across chunks, with duplicates: FALSE puts the least first,
  // TRUE the greatest.
  for (Boolean ascending : {FALSE, TRUE}) {
    List list(kStandardChunkSize, TRUE, EqualCompare);
    std::vector<int32_t> expected;
    for (int i = 0; i < 500; i++) {
      const int32_t value = (i * 7919) % 101 - 50;
      list.include(new NumberItem(value));
      expected.push_back(value);
    }
    std::sort(expected.begin(), expected.end());
    if (ascending) std::reverse(expected.begin(), expected.end());
    list.sort(ascending);
    EXPECT_EQ(numbers(list), expected);
  }

  FixedList fixed(5, TRUE, EqualCompare);
  for (int n : {5, -1, 4, 4, 0}) fixed.include(new NumberItem(n));
  fixed.sort(TRUE);
  EXPECT_EQ(numbers(fixed, fixed.numberElements), (std::vector<int32_t>{5, 4, 4, 0, -1}));
}

// Random operations against a vector model: positions, chunk rippling and
// the removal of emptied chunks must agree with plain array semantics.
TEST(ListTest, RandomOperationsAgreeWithAVector) {
  List list(3, TRUE, EqualCompare);
  std::vector<int32_t> model;
  uint32_t seed = 12345;
  auto next = [&seed](uint32_t bound) {
    seed = seed * 1103515245u + 12345u;
    return (seed >> 8) % bound;
  };
  int32_t counter = 0;
  for (int step = 0; step < 4000; step++) {
    const uint32_t op = next(6);
    const long size = static_cast<long>(model.size());
    if (op == 0 || size == 0) {
      list.include(new NumberItem(counter));
      model.push_back(counter++);
    } else if (op == 1) {
      const long at = next(static_cast<uint32_t>(size + 1));
      list.inserti(at, new NumberItem(counter));
      model.insert(model.begin() + at, counter++);
    } else if (op == 2) {
      const long at = next(static_cast<uint32_t>(size));
      delete list.removei(at);
      model.erase(model.begin() + at);
    } else if (op == 3) {
      const long at = next(static_cast<uint32_t>(size));
      NumberItem probe(model[at]);
      delete list.remove(&probe);
      model.erase(model.begin() + at);
    } else if (op == 4) {
      const long at = next(static_cast<uint32_t>(size));
      EXPECT_EQ(static_cast<NumberItem*>(list.get(at))->number, model[at]);
      NumberItem probe(model[at]);
      EXPECT_EQ(list.findi(&probe), at);
    } else {
      EXPECT_EQ(list.get(size), nullptr);
    }
    ASSERT_EQ(list.totalElements, static_cast<long>(model.size()));
  }
  EXPECT_EQ(numbers(list), model);
}

}  // namespace
