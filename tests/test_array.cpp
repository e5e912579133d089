// YcArray and KmVector: the growth rule (doubling, then 64 KiB steps, never
// below the grow length), exact physical sizing, insertion and removal,
// lookups, thrown status objects, and value records surviving reallocation.
#include <string>
#include <vector>

#include "KmRxTestSupport.h"
#include "KmVector.h"
#include "YcArray.h"

namespace {

// Runs f and expects it to throw a heap-allocated KmErrorStatus with want.
template <typename F>
void expectThrows(Ycad::ErrorStatus want, F&& f) {
  try {
    f();
    ADD_FAILURE() << "nothing thrown, expected status " << want;
  } catch (KmErrorStatus* e) {
    ASSERT_NE(nullptr, e);
    EXPECT_EQ(want, e->status());
    delete e;
  }
}

// Appends count values and returns each distinct physical length seen.
template <typename A, typename V>
std::vector<int> physicalSteps(A& a, int count, const V& value) {
  std::vector<int> steps{a.physicalLength()};
  for (int i = 0; i < count; ++i) {
    a.append(value);
    if (a.physicalLength() != steps.back()) steps.push_back(a.physicalLength());
  }
  return steps;
}

template <typename A>
std::vector<int> contents(const A& a) {
  std::vector<int> out;
  for (int i = 0; i < a.length(); ++i) out.push_back(a[i]);
  return out;
}

struct Blob1000 {
  char bytes[1000];
};

// A value record that owns heap memory; counts live copies to catch leaks
// and relies on assignment, so moving its bytes would double-free.
class Owned {
public:
  Owned() : mp(new std::string) { ++sAlive; }
  explicit Owned(const std::string& s) : mp(new std::string(s)) { ++sAlive; }
  Owned(const Owned& o) : mp(new std::string(*o.mp)) { ++sAlive; }
  Owned& operator=(const Owned& o) {
    if (this != &o) *mp = *o.mp;
    return *this;
  }
  ~Owned() {
    delete mp;
    --sAlive;
  }
  bool operator==(const Owned& o) const { return *mp == *o.mp; }
  const std::string& text() const { return *mp; }
  static int sAlive;

private:
  std::string* mp;
};
int Owned::sAlive = 0;

std::vector<std::string> texts(const KmVector<Owned>& v) {
  std::vector<std::string> out;
  for (int i = 0; i < v.length(); ++i) out.push_back(v[i].text());
  return out;
}

TEST(YcArrayGrowth, ConstructorAllocatesAtOnce) {
  YcArray<int> a(5, 3);
  EXPECT_EQ(5, a.physicalLength());
  EXPECT_EQ(0, a.logicalLength());
  EXPECT_EQ(3, a.growLength());
  EXPECT_NE(nullptr, a.asArrayPtr());
  EXPECT_TRUE(a.isEmpty());

  YcArray<int> none(0, 4);
  EXPECT_EQ(0, none.physicalLength());
  expectThrows(Ycad::eNegativeValue, [] { YcArray<int> bad(-1, 4); });
}

TEST(YcArrayGrowth, DoublesBelow64KiBThenSteps64KiB) {
  YcArray<int> a(4, 1);
  std::vector<int> want;
  for (int n = 4; n <= 16384; n *= 2) want.push_back(n);  // 16384 ints = 64 KiB
  want.push_back(16384 + 16384);
  want.push_back(16384 + 2 * 16384);
  EXPECT_EQ(want, physicalSteps(a, 40000, 7));
  EXPECT_EQ(40000, a.length());
  EXPECT_EQ(7, a[39999]);

  // 64 elements take 64000 bytes (still under), 128 do not: then 65536/1000 = 65.
  YcArray<Blob1000> big(1, 1);
  EXPECT_EQ((std::vector<int>{1, 2, 4, 8, 16, 32, 64, 128, 193, 258}),
            physicalSteps(big, 200, Blob1000{}));
}

TEST(YcArrayGrowth, NeverGrowsByLessThanTheGrowLength) {
  YcArray<int> fromZero(0, 10);
  EXPECT_EQ((std::vector<int>{0, 10, 20, 40}), physicalSteps(fromZero, 25, 1));

  YcArray<int> wide(4, 100);
  EXPECT_EQ((std::vector<int>{4, 104, 208}), physicalSteps(wide, 105, 1));

  YcArray<int> large(16384, 20000);
  EXPECT_EQ((std::vector<int>{16384, 36384}), physicalSteps(large, 16385, 1));

  YcArray<int> defaults;
  EXPECT_EQ((std::vector<int>{0, 8, 16}), physicalSteps(defaults, 9, 1));
}

TEST(YcArrayGrowth, InsertAtGrowsByTheSameRule) {
  YcArray<int> a(2, 1);
  a.append(1);
  a.append(2);
  a.insertAt(0, 0);
  EXPECT_EQ(4, a.physicalLength());
  EXPECT_EQ((std::vector<int>{0, 1, 2}), contents(a));
}

TEST(YcArrayLength, SetPhysicalLengthIsExactAndCutsTheLogicalLength) {
  YcArray<int> a(0, 1);
  for (int i = 0; i < 10; ++i) a.append(i);
  a.setPhysicalLength(23);
  EXPECT_EQ(23, a.physicalLength());
  EXPECT_EQ(10, a.logicalLength());
  EXPECT_EQ(9, a[9]);

  a.setPhysicalLength(4);
  EXPECT_EQ(4, a.physicalLength());
  EXPECT_EQ((std::vector<int>{0, 1, 2, 3}), contents(a));

  a.setPhysicalLength(0);
  EXPECT_EQ(0, a.physicalLength());
  EXPECT_EQ(0, a.logicalLength());
  EXPECT_EQ(nullptr, a.asArrayPtr());

  expectThrows(Ycad::eNegativeValue, [&] { a.setPhysicalLength(-3); });
  EXPECT_EQ(0, a.append(5));
  EXPECT_EQ(1, a.physicalLength());  // grow length 1 from nothing
}

TEST(YcArrayLength, SetLogicalLengthGrowsAndClampsNegativeToZero) {
  YcArray<int> a(4, 1);
  a.setLogicalLength(3);
  EXPECT_EQ(3, a.logicalLength());
  EXPECT_EQ(4, a.physicalLength());

  a.setLogicalLength(100);
  EXPECT_EQ(100, a.logicalLength());
  EXPECT_GE(a.physicalLength(), 100);
  a[99] = 9;

  const int physical = a.physicalLength();
  a.setLogicalLength(-5);
  EXPECT_EQ(0, a.logicalLength());
  EXPECT_EQ(physical, a.physicalLength());
}

TEST(YcArrayEdit, AppendInsertAndRemoveKeepOrder) {
  YcArray<int> a;
  EXPECT_EQ(0, a.append(10));
  EXPECT_EQ(1, a.append(30));
  a.insertAt(1, 20).insertAt(0, 0).insertAt(4, 40);
  EXPECT_EQ((std::vector<int>{0, 10, 20, 30, 40}), contents(a));

  a.removeAt(2);
  EXPECT_EQ((std::vector<int>{0, 10, 30, 40}), contents(a));
  a.removeFirst();
  EXPECT_EQ((std::vector<int>{10, 30, 40}), contents(a));
  a.removeAt(2);
  EXPECT_EQ((std::vector<int>{10, 30}), contents(a));

  const int physical = a.physicalLength();
  a.removeAll();
  EXPECT_TRUE(a.isEmpty());
  EXPECT_EQ(0, a.logicalLength());
  EXPECT_EQ(physical, a.physicalLength());
}

TEST(YcArrayEdit, BadIndexesThrowInvalidIndex) {
  YcArray<int> a;
  a.append(1);
  a.append(2);
  expectThrows(Ycad::eInvalidIndex, [&] { a.insertAt(-1, 0); });
  expectThrows(Ycad::eInvalidIndex, [&] { a.insertAt(3, 0); });
  expectThrows(Ycad::eInvalidIndex, [&] { a.removeAt(2); });
  expectThrows(Ycad::eInvalidIndex, [&] { a.removeAt(-1); });
  expectThrows(Ycad::eInvalidIndex, [&] { a.at(2); });
  EXPECT_EQ((std::vector<int>{1, 2}), contents(a));

  YcArray<int> empty;
  expectThrows(Ycad::eInvalidIndex, [&] { empty.removeFirst(); });
  EXPECT_EQ(0, empty.logicalLength());
}

TEST(YcArrayEdit, FindAndFindFromGiveFirstIndexOrMinusOne) {
  YcArray<int> a;
  for (int v : {5, 7, 5, 9}) a.append(v);
  EXPECT_EQ(0, a.find(5));
  EXPECT_EQ(2, a.findFrom(5, 1));
  EXPECT_EQ(2, a.findFrom(5, 2));
  EXPECT_EQ(-1, a.findFrom(5, 3));
  EXPECT_EQ(3, a.find(9));
  EXPECT_EQ(-1, a.find(8));
  EXPECT_EQ(-1, a.findFrom(5, 10));

  a.setLogicalLength(1);  // stale slots beyond the length are not searched
  EXPECT_EQ(-1, a.find(9));
}

TEST(YcArrayEdit, PointerArraysKeepTheirValuesAcrossGrowth) {
  int slots[50];
  YcArray<int*> a(1, 1);
  for (int& s : slots) a.append(&s);
  for (int i = 0; i < 50; ++i) EXPECT_EQ(&slots[i], a[i]);
  EXPECT_EQ(17, a.find(&slots[17]));
}

TEST(YcArrayEdit, ExhaustedMemoryThrowsOutOfMemory) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer allocator aborts on impossible sizes";
#else
  struct Huge {
    char bytes[1 << 20];
  };
  YcArray<Huge> a;
  expectThrows(Ycad::eOutOfMemory, [&] { a.setPhysicalLength(0x7fffffff); });
  EXPECT_EQ(0, a.physicalLength());
  expectThrows(Ycad::eOutOfMemory, [] { YcArray<Huge> b(0x7fffffff, 1); });
#endif
}

class VectorTest : public ::testing::Test {
protected:
  void SetUp() override { mAliveBefore = Owned::sAlive; }
  void TearDown() override { EXPECT_EQ(mAliveBefore, Owned::sAlive) << "records leaked or lost"; }

private:
  int mAliveBefore = 0;
};

TEST_F(VectorTest, RecordsWithOwningMembersSurviveGrowth) {
  KmVector<Owned> v(1, 1);
  std::vector<std::string> want;
  for (int i = 0; i < 300; ++i) {
    want.push_back("record-" + std::to_string(i));
    v.append(Owned(want.back()));
  }
  EXPECT_EQ(want, texts(v));
  EXPECT_EQ(37, v.find(Owned("record-37")));

  v.setPhysicalLength(10);
  want.resize(10);
  EXPECT_EQ(want, texts(v));
  v.setPhysicalLength(50);
  EXPECT_EQ(want, texts(v));
}

TEST_F(VectorTest, InsertAndRemoveMoveRecordsByAssignment) {
  KmVector<Owned> v(2, 1);
  v.append(Owned("b"));
  v.append(Owned("d"));
  v.insertAt(0, Owned("a"));
  v.insertAt(2, Owned("c"));
  EXPECT_EQ((std::vector<std::string>{"a", "b", "c", "d"}), texts(v));
  v.removeAt(1);
  v.removeFirst();
  EXPECT_EQ((std::vector<std::string>{"c", "d"}), texts(v));
  v.removeAll();
  v.append(Owned("e"));
  EXPECT_EQ((std::vector<std::string>{"e"}), texts(v));
}

TEST_F(VectorTest, AppendingAnElementOfAFullVectorCopiesItBeforeMoving) {
  KmVector<Owned> v(2, 1);
  v.append(Owned("first"));
  v.append(Owned("second"));
  ASSERT_EQ(v.physicalLength(), v.length());
  v.append(v[0]);
  v.insertAt(0, v[2]);
  EXPECT_EQ((std::vector<std::string>{"first", "first", "second", "first"}), texts(v));
}

}  // namespace
