// YcArray and KmVector: growth, exact sizing, editing, lookups, thrown status objects.
#include <array>
#include <string>
#include <vector>

#include "KmRxTestSupport.h"
#include "KmVector.h"
#include "YcArray.h"

namespace {

template <typename F>
void expectThrows(Ycad::ErrorStatus want, F&& f) {
  try {
    f();
    ADD_FAILURE() << "nothing thrown, expected status " << want;
  } catch (KmErrorStatus* e) {
    EXPECT_EQ(want, e->status());
    delete e;
  }
}

// Appends count values and returns each distinct physical length seen.
template <typename A, typename V>
std::vector<int> physicalSteps(A&& a, int count, const V& value) {
  std::vector<int> steps{a.physicalLength()};
  for (int i = 0; i < count; ++i) {
    a.append(value);
    if (a.physicalLength() != steps.back()) steps.push_back(a.physicalLength());
  }
  return steps;
}

template <typename T, typename A>
std::vector<T> contents(const A& a) {
  std::vector<T> out;
  for (int i = 0; i < a.length(); ++i) out.push_back(a[i]);
  return out;
}

TEST(YcArrayGrowth, DoublesBelow64KiBThenSteps64KiBNeverBelowTheGrowLength) {
  EXPECT_EQ((std::vector<int>{4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096, 8192,
                              16384 /* 64 KiB */, 32768, 49152}),
            physicalSteps(YcArray<int>(4, 1), 40000, 7));
  // 64 elements take 64000 bytes (still under), 128 do not: then 65536/1000 = 65.
  EXPECT_EQ((std::vector<int>{1, 2, 4, 8, 16, 32, 64, 128, 193, 258}),
            physicalSteps(YcArray<std::array<char, 1000>>(1, 1), 200, std::array<char, 1000>{}));

  EXPECT_EQ((std::vector<int>{0, 10, 20, 40}), physicalSteps(YcArray<int>(0, 10), 25, 1));
  EXPECT_EQ((std::vector<int>{4, 104, 208}), physicalSteps(YcArray<int>(4, 100), 105, 1));
  EXPECT_EQ((std::vector<int>{16384, 36384}), physicalSteps(YcArray<int>(16384, 20000), 16385, 1));
  EXPECT_EQ((std::vector<int>{0, 8, 16}), physicalSteps(YcArray<int>(), 9, 1));

  YcArray<int> full(2, 1);  // insertAt grows by the same rule
  for (int v : {1, 2}) full.append(v);
  full.insertAt(0, 0);
  EXPECT_EQ(4, full.physicalLength());
  EXPECT_EQ((std::vector<int>{0, 1, 2}), contents<int>(full));
}

TEST(YcArrayLength, PhysicalLengthIsExactAndLogicalLengthClampsAtZero) {
  expectThrows(Ycad::eNegativeValue, [] { YcArray<int> bad(-1, 4); });
  YcArray<int> a(0, 1);
  for (int i = 0; i < 10; ++i) a.append(i);
  a.setPhysicalLength(23);
  EXPECT_EQ(23, a.physicalLength());
  a.setPhysicalLength(4);
  EXPECT_EQ((std::vector<int>{0, 1, 2, 3}), contents<int>(a));
  a.setPhysicalLength(0);
  EXPECT_EQ(nullptr, a.asArrayPtr());
  expectThrows(Ycad::eNegativeValue, [&] { a.setPhysicalLength(-3); });

  a.setLogicalLength(100);
  const int physical = a.physicalLength();
  a.setLogicalLength(-5);
  EXPECT_EQ(0, a.logicalLength());
  EXPECT_EQ(physical, a.physicalLength());
#if !defined(__SANITIZE_ADDRESS__)  // the sanitizer allocator aborts on impossible sizes
  YcArray<std::array<char, 1 << 20>> huge;
  expectThrows(Ycad::eOutOfMemory, [&] { huge.setPhysicalLength(0x7fffffff); });
  EXPECT_EQ(0, huge.physicalLength());
#endif
}

TEST(YcArrayEdit, EditsKeepOrderFindSeesOnlyTheLogicalLengthAndBadIndexesThrow) {
  YcArray<int> a;
  EXPECT_EQ(0, a.append(10));
  EXPECT_EQ(1, a.append(30));
  a.insertAt(1, 20).insertAt(0, 0).insertAt(4, 40);
  a.removeAt(2);
  a.removeFirst();
  a.append(10);
  EXPECT_EQ((std::vector<int>{10, 30, 40, 10}), contents<int>(a));
  EXPECT_EQ(3, a.findFrom(10, 1));
  a.setLogicalLength(1);  // stale slots beyond the length are not searched
  EXPECT_EQ(-1, a.find(30));

  expectThrows(Ycad::eInvalidIndex, [&] { a.insertAt(2, 0); });
  expectThrows(Ycad::eInvalidIndex, [&] { a.removeAt(-1); });
  expectThrows(Ycad::eInvalidIndex, [&] { a.at(1); });
  a.removeAll();
  expectThrows(Ycad::eInvalidIndex, [&] { a.removeFirst(); });
}

// Long strings own heap blocks: an array that moved their bytes instead of
// assigning them would double-free or leak (the sanitizer build sees both).
TEST(KmVectorTest, RecordsSurviveGrowthEditsAndSelfAppend) {
  const std::string stem = "a record text too long for the inline buffer ";
  KmVector<std::string> v(1, 1);
  for (int i = 0; i < 300; ++i) v.append(stem + std::to_string(i));
  EXPECT_EQ(299, v.find(stem + "299"));
  v.setPhysicalLength(3);
  v.insertAt(0, stem + "a");
  v.removeAt(1);
  v.setPhysicalLength(3);
  EXPECT_EQ((std::vector<std::string>{stem + "a", stem + "1", stem + "2"}),
            contents<std::string>(v));
  v.append(v[0]);  // an element of the full vector itself is copied before the move
  v.insertAt(0, v[2]);
  EXPECT_EQ((std::vector<std::string>{stem + "2", stem + "a", stem + "1", stem + "2", stem + "a"}),
            contents<std::string>(v));
}

}  // namespace
