// YcRxLinkedList: node bookkeeping, the odd bulk insertion orders, identity vs equality
// lookups, foreign iterators. The objects live inside the fixture: deleting one would crash.
#include <algorithm>
#include <memory>
#include <vector>

#include "KmRxTestSupport.h"

namespace {

using Objects = std::vector<YcRxObject*>;
using IterPtr = std::unique_ptr<YcRxIterator>;
const wchar_t* const kForeignIterator = L"Rx module fatal error, code is 46";

class LinkedListTest : public RuntimeTest {
protected:
  // Checks the contents forward through an iterator and backward through the links, and the ends.
  static void expectOrder(const YcRxLinkedList& list, const Objects& want) {
    Objects forward, backward;
    for (IterPtr it(list.newIterator()); !it->done(); it->next()) forward.push_back(it->object());
    for (YcRxLinkedNode* n = list.tailNode(); n; n = n->prev()) backward.push_back(n->object());
    EXPECT_EQ(want, forward);
    EXPECT_EQ(want, Objects(backward.rbegin(), backward.rend())) << "back links disagree";
    EXPECT_EQ(static_cast<int>(want.size()), list.count());
    EXPECT_TRUE(want.empty() == list.isEmpty() && want.empty() == !list.frontNode() &&
                want.empty() == !list.tailNode());
    EXPECT_TRUE(want.empty() || (!list.frontNode()->prev() && !list.tailNode()->next() &&
                                 list.front() == want.front() && list.tail() == want.back()));
  }
  // A finished iterator on the list: the one find() gives for an object not in it.
  IterPtr doneIterator() { return IterPtr(list.find(&absent)); }

  YcRxObject a, b, c, d, x, y, absent;
  YcRxLinkedList list;
};

TEST_F(LinkedListTest, AddsLinkBothWaysAndIteratorNextAnswersWhetherANodeFollows) {
  expectOrder(list, {});
  EXPECT_TRUE(!list.front() && !list.tail() && !list.removeFront() && !list.removeTail());
  EXPECT_TRUE(!list.setFront(&a) && !list.setTail(&a));
  EXPECT_TRUE(YcRxLinkedListIterator(&list).done());
  list.addTail(&b);
  list.addFront(&a);
  list.addTail() = &c;
  list.addFront() = &x;
  expectOrder(list, {&x, &a, &b, &c});
  YcRxLinkedListIterator it(&list);
  EXPECT_TRUE(it.next() && it.next() && it.next());
  EXPECT_FALSE(it.next());
  EXPECT_EQ(nullptr, it.object());
  EXPECT_FALSE(it.next());
}

TEST_F(LinkedListTest, AddAfterInsertsBehindTheIteratorOrAppendsForNullOrDoneOnes) {
  for (YcRxObject* o : {&a, &c}) list.addTail(o);
  IterPtr it(list.find(&a));
  list.addAfter(it.get(), &b);
  EXPECT_EQ(&a, it->object());  // the iterator stays
  it.reset(list.find(&c));
  list.addAfter(it.get()) = &d;  // after the tail: the new node becomes the tail
  expectOrder(list, {&a, &b, &c, &d});
  list.addAfter(nullptr, &x);
  list.addAfter(doneIterator().get(), &y);
  expectOrder(list, {&a, &b, &c, &d, &x, &y});
}

TEST_F(LinkedListTest, BulkInsertionKeepsOrderOnlyAtTheTail) {
  YcRxLinkedList three, two, front;
  for (YcRxObject* o : Objects{&a, nullptr, &b}) three.addTail(o);
  for (YcRxObject* o : {&x, &y}) list.addTail(o);
  EXPECT_EQ(&list, &list.insertTail(three));
  expectOrder(list, {&x, &y, &a, nullptr, &b});

  // In front only the first object comes first; the rest follow it reversed.
  front.addTail(&x);
  EXPECT_EQ(&front, &front.insertFront(three));
  expectOrder(front, {&a, &b, nullptr, &x});
  // At an iterator all come reversed after its node; without one they are appended.
  for (YcRxObject* o : {&c, &d}) two.addTail(o);
  IterPtr it(list.find(&x));
  EXPECT_EQ(&list, &list.insertAt(it.get(), two));
  EXPECT_EQ(&x, it->object());
  list.insertAt(nullptr, two);
  expectOrder(list, {&x, &d, &c, &y, &a, nullptr, &b, &c, &d});
}

TEST_F(LinkedListTest, RemovalUnlinksNodesAndKeepsTheEndsRight) {
  for (YcRxObject* o : {&a, &b, &c, &d, &x}) list.addTail(o);
  EXPECT_EQ(&a, list.removeFront());
  EXPECT_EQ(&x, list.removeTail());
  for (YcRxObject* o : {&c, &b, &d}) {  // middle, front, then the single node
    IterPtr it(list.find(o));
    EXPECT_EQ(o, list.removeAt(it.get()));
    expectOrder(list, o == &c ? Objects{&b, &d} : o == &b ? Objects{&d} : Objects{});
  }
  list.addFront(&y);  // the ends are usable again
  EXPECT_TRUE(!list.removeAt(doneIterator().get()) &&
              !list.removeAt(static_cast<YcRxIterator*>(nullptr)));
  EXPECT_EQ(&y, list.removeTail());
  expectOrder(list, {});
}

TEST_F(LinkedListTest, FindAndRemoveMatchTheFirstIdenticalObjectWhileContainsAcceptsEqualOnes) {
  YcRxString stored(L"same", false), twin(L"same", false), other(L"other", false);
  for (YcRxObject* o : Objects{nullptr, &stored, &a, &stored}) list.addTail(o);
  EXPECT_TRUE(list.contains(&stored) && list.contains(&twin) && list.contains(nullptr));
  EXPECT_FALSE(list.contains(&other));
  EXPECT_TRUE(IterPtr(list.find(&twin))->done());
  EXPECT_EQ(nullptr, list.removeAt(&twin));
  IterPtr it(list.find(&stored));
  EXPECT_EQ(list.frontNode()->next(), static_cast<YcRxLinkedListIterator*>(it.get())->curNode());
  EXPECT_EQ(&stored, list.removeAt(&stored));
  expectOrder(list, {nullptr, &a, &stored});
  EXPECT_EQ(&stored, list.removeAt(&stored));
  EXPECT_FALSE(list.contains(&twin));
}

TEST_F(LinkedListTest, SettersReplaceAndReturnThePreviousObject) {
  for (YcRxObject* o : {&a, &b, &c}) list.addTail(o);
  EXPECT_EQ(&a, list.setFront(&x));
  EXPECT_EQ(&c, list.setTail(&y));
  IterPtr it(list.find(&b));
  EXPECT_EQ(&b, list.setAt(it.get(), &d));
  EXPECT_EQ(&d, it->object());
  EXPECT_TRUE(!list.setAt(nullptr, &a) && !list.setAt(doneIterator().get(), &a));
  expectOrder(list, {&x, &d, &y});
  list.removeAll();  // nodes only
  expectOrder(list, {});
}

TEST_F(LinkedListTest, ForeignIteratorIsReportedAndNeverUsed) {
  YcRxPEClassMap map;
  map.setAt(&x, &y);
  IterPtr foreign(map.newIterator());
  for (YcRxObject* o : {&a, &b}) list.addTail(o);
  EXPECT_EQ(nullptr, list.removeAt(foreign.get()));
  EXPECT_EQ(nullptr, list.setAt(foreign.get(), &c));
  list.addAfter(foreign.get(), &c);  // reported, then appended
  EXPECT_EQ(3, fatalCount(kForeignIterator));
  expectOrder(list, {&a, &b, &c});

  // A finished iterator appends before its class is looked at; setAt checks the class first.
  foreign->next();
  list.addAfter(foreign.get(), &d);
  EXPECT_EQ(3, fatalCount(kForeignIterator));
  EXPECT_EQ(nullptr, list.setAt(foreign.get(), &x));
  EXPECT_EQ(4, fatalCount(kForeignIterator));
  expectOrder(list, {&a, &b, &c, &d});

  // A list iterator standing on another list's end node is foreign too.
  YcRxLinkedList other;
  other.addTail(&x);
  IterPtr stranger(other.newIterator());
  EXPECT_EQ(nullptr, list.removeAt(stranger.get()));
  list.addAfter(stranger.get(), &y);  // reported, then appended
  EXPECT_EQ(6, fatalCount(kForeignIterator));
  expectOrder(list, {&a, &b, &c, &d, &y});
  expectOrder(other, {&x});
}

}  // namespace

TEST_F(LinkedListTest, RemovingAnObjectHeldOnceFindsItFromEitherEndAndKeepsTheRestInOrder) {
  YcRxObject items[9];
  for (YcRxObject& item : items) list.addTail(&item);
  Objects left;
  for (YcRxObject& item : items) left.push_back(&item);
  // Ends, middles, neighbours of removed ones, then what is left.
  for (int i : {8, 0, 4, 3, 5, 1, 7, 2, 6}) {
    EXPECT_EQ(&items[i], list.removeOnly(&items[i]));
    left.erase(std::find(left.begin(), left.end(), &items[i]));
    expectOrder(list, left);
  }
  EXPECT_EQ(nullptr, list.removeOnly(&items[0])) << "not held";
  list.addTail(&a);
  EXPECT_EQ(nullptr, list.removeOnly(&b));
  expectOrder(list, {&a});
}
