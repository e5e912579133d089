// YcRxLinkedList and YcRxLinkedListIterator: node bookkeeping, the odd bulk
// insertion orders, identity vs equality lookups, foreign iterators.
#include <initializer_list>
#include <vector>

#include "KmRxTestSupport.h"

namespace {

const wchar_t* const kForeignIterator = L"Rx module fatal error, code is 46";

// Counts live instances so tests can tell the list never deletes objects.
class ListProbe : public YcRxObject {
public:
  ListProbe() { ++sAlive; }
  ~ListProbe() override { --sAlive; }
  static int sAlive;
};
int ListProbe::sAlive = 0;

class LinkedListTest : public RuntimeTest {
protected:
  // Checks contents through the iterator, through the back links, and the ends and count.
  static void expectOrder(const YcRxLinkedList& list, std::initializer_list<YcRxObject*> expected) {
    std::vector<YcRxObject*> want(expected);
    std::vector<YcRxObject*> forward;
    YcRxIterator* it = list.newIterator();
    for (; !it->done(); it->next()) forward.push_back(it->object());
    delete it;
    EXPECT_EQ(want, forward);

    std::vector<YcRxObject*> backward;
    for (YcRxLinkedNode* n = list.tailNode(); n; n = n->prev()) backward.insert(backward.begin(), n->object());
    EXPECT_EQ(want, backward) << "back links disagree with forward order";

    EXPECT_EQ(static_cast<int>(want.size()), list.count());
    EXPECT_EQ(want.empty(), list.isEmpty());
    EXPECT_EQ(want.empty(), list.frontNode() == nullptr);
    EXPECT_EQ(want.empty(), list.tailNode() == nullptr);
    if (!want.empty()) {
      EXPECT_EQ(nullptr, list.frontNode()->prev());
      EXPECT_EQ(nullptr, list.tailNode()->next());
      EXPECT_EQ(want.front(), list.front());
      EXPECT_EQ(want.back(), list.tail());
    }
  }

  static void fill(YcRxLinkedList& list, std::initializer_list<YcRxObject*> objects) {
    for (YcRxObject* o : objects) list.addTail(o);
  }

  YcRxObject a, b, c, d, x, y;
};

TEST_F(LinkedListTest, EmptyListHasNoEndsAndAnswersNull) {
  YcRxLinkedList list;
  expectOrder(list, {});
  EXPECT_EQ(nullptr, list.front());
  EXPECT_EQ(nullptr, list.tail());
  EXPECT_EQ(nullptr, list.removeFront());
  EXPECT_EQ(nullptr, list.removeTail());
  EXPECT_EQ(nullptr, list.setFront(&a));
  EXPECT_EQ(nullptr, list.setTail(&a));
  EXPECT_TRUE(list.isEmpty());

  YcRxLinkedListIterator it(&list);
  EXPECT_TRUE(it.done());
  EXPECT_EQ(nullptr, it.object());
  EXPECT_FALSE(it.next());
}

TEST_F(LinkedListTest, AddTailAndFrontLinkBothWaysAndReferenceFormsFillTheNode) {
  YcRxLinkedList list;
  list.addTail(&b);
  list.addFront(&a);
  list.addTail() = &c;
  expectOrder(list, {&a, &b, &c});
  list.addFront() = &x;
  expectOrder(list, {&x, &a, &b, &c});
}

TEST_F(LinkedListTest, IteratorNextAnswersWhetherAnotherNodeFollows) {
  YcRxLinkedList list;
  fill(list, {&a, &b});
  YcRxLinkedListIterator it(&list);
  EXPECT_EQ(list.frontNode(), it.curNode());
  EXPECT_EQ(&a, it.object());
  EXPECT_TRUE(it.next());
  EXPECT_EQ(list.tailNode(), it.curNode());
  EXPECT_FALSE(it.next());
  EXPECT_TRUE(it.done());
  EXPECT_EQ(nullptr, it.object());
  EXPECT_FALSE(it.next());
}

TEST_F(LinkedListTest, AddAfterInsertsBehindCurrentNodeWithoutMovingIterator) {
  YcRxLinkedList list;
  fill(list, {&a, &c});
  YcRxIterator* it = list.find(&a);
  list.addAfter(it, &b);
  EXPECT_EQ(&a, it->object());
  expectOrder(list, {&a, &b, &c});
  delete it;

  it = list.find(&c);
  list.addAfter(it) = &d;  // after the tail: the new node becomes the tail
  expectOrder(list, {&a, &b, &c, &d});
  EXPECT_EQ(&c, it->object());
  delete it;
}

TEST_F(LinkedListTest, AddAfterNullOrDoneIteratorAppends) {
  YcRxLinkedList list;
  fill(list, {&a});
  list.addAfter(nullptr, &b);
  YcRxLinkedListIterator done(&list);
  while (!done.done()) done.next();
  list.addAfter(&done, &c);
  expectOrder(list, {&a, &b, &c});
  EXPECT_TRUE(fatalMessages().empty());
}

TEST_F(LinkedListTest, InsertTailAppendsInOrderIncludingNulls) {
  YcRxLinkedList list, other;
  fill(list, {&x});
  fill(other, {&a, nullptr, &b});
  YcRxGenericCollection& result = list.insertTail(other);
  EXPECT_EQ(&list, &result);
  expectOrder(list, {&x, &a, nullptr, &b});
  expectOrder(other, {&a, nullptr, &b});
}

TEST_F(LinkedListTest, InsertFrontPutsFirstObjectFirstAndTheRestReversedAfterIt) {
  YcRxLinkedList empty, other;
  fill(other, {&a, &b, &c});
  EXPECT_EQ(&empty, &empty.insertFront(other));
  expectOrder(empty, {&a, &c, &b});

  YcRxLinkedList list;
  fill(list, {&x});
  list.insertFront(other);
  expectOrder(list, {&a, &c, &b, &x});
  expectOrder(other, {&a, &b, &c});
}

TEST_F(LinkedListTest, InsertAtPutsObjectsReversedAfterTheIteratorNode) {
  YcRxLinkedList list, two, three;
  fill(list, {&x, &y});
  fill(two, {&a, &b});
  YcRxIterator* it = list.find(&x);
  EXPECT_EQ(&list, &list.insertAt(it, two));
  expectOrder(list, {&x, &b, &a, &y});
  EXPECT_EQ(&x, it->object());
  delete it;

  YcRxLinkedList single;
  fill(single, {&x});
  fill(three, {&a, &b, &c});
  it = single.find(&x);
  single.insertAt(it, three);
  expectOrder(single, {&x, &c, &b, &a});
  delete it;
}

TEST_F(LinkedListTest, InsertAtWithoutIteratorAppendsInOrder) {
  YcRxLinkedList list, other;
  fill(list, {&x});
  fill(other, {&a, &b, &c});
  list.insertAt(nullptr, other);
  expectOrder(list, {&x, &a, &b, &c});
}

TEST_F(LinkedListTest, RemoveEndsReturnObjectsAndClearBothEndsWhenEmpty) {
  YcRxLinkedList list;
  fill(list, {&a, &b, &c});
  EXPECT_EQ(&a, list.removeFront());
  EXPECT_EQ(&c, list.removeTail());
  expectOrder(list, {&b});
  EXPECT_EQ(list.frontNode(), list.tailNode());
  EXPECT_EQ(&b, list.removeTail());
  expectOrder(list, {});
  list.addFront(&d);  // ends must be usable again
  expectOrder(list, {&d});
  EXPECT_EQ(&d, list.removeFront());
  expectOrder(list, {});
}

TEST_F(LinkedListTest, RemoveAtIteratorUnlinksFrontMiddleAndTail) {
  YcRxLinkedList list;
  fill(list, {&a, &b, &c, &d});
  for (YcRxObject* o : {&b, &a, &d}) {
    YcRxIterator* it = list.find(o);
    EXPECT_EQ(o, list.removeAt(it));
    delete it;
  }
  expectOrder(list, {&c});

  YcRxIterator* it = list.find(&c);
  EXPECT_EQ(&c, list.removeAt(it));
  delete it;
  expectOrder(list, {});

  YcRxLinkedListIterator done(&list);
  EXPECT_EQ(nullptr, list.removeAt(&done));
  EXPECT_EQ(nullptr, list.removeAt(static_cast<YcRxIterator*>(nullptr)));
}

TEST_F(LinkedListTest, FindAndRemoveMatchByIdentityWhileContainsAcceptsEqualObjects) {
  YcRxString stored(L"same", false), twin(L"same", false), other(L"other", false);
  YcRxLinkedList list;
  fill(list, {nullptr, &stored});

  EXPECT_TRUE(list.contains(&stored));
  EXPECT_TRUE(list.contains(&twin));
  EXPECT_FALSE(list.contains(&other));
  EXPECT_TRUE(list.contains(nullptr));  // the stored null is identical

  YcRxIterator* it = list.find(&twin);
  ASSERT_NE(nullptr, it);
  EXPECT_TRUE(it->done());
  delete it;
  EXPECT_EQ(nullptr, list.removeAt(&twin));
  expectOrder(list, {nullptr, &stored});

  it = list.find(&stored);
  ASSERT_NE(nullptr, it);
  EXPECT_EQ(list.tailNode(), static_cast<YcRxLinkedListIterator*>(it)->curNode());
  delete it;
  EXPECT_EQ(&stored, list.removeAt(&stored));
  expectOrder(list, {nullptr});
  EXPECT_FALSE(list.contains(&twin));
}

TEST_F(LinkedListTest, FindAndRemoveByObjectTakeTheFirstOccurrence) {
  YcRxLinkedList list;
  fill(list, {&a, &b, &a});
  YcRxIterator* it = list.find(&a);
  EXPECT_EQ(list.frontNode(), static_cast<YcRxLinkedListIterator*>(it)->curNode());
  delete it;
  EXPECT_EQ(&a, list.removeAt(&a));
  expectOrder(list, {&b, &a});
  EXPECT_EQ(&a, list.removeAt(&a));
  expectOrder(list, {&b});
}

TEST_F(LinkedListTest, SettersReplaceAndReturnThePreviousObject) {
  YcRxLinkedList list;
  fill(list, {&a, &b, &c});
  EXPECT_EQ(&a, list.setFront(&x));
  EXPECT_EQ(&c, list.setTail(&y));
  YcRxIterator* it = list.find(&b);
  EXPECT_EQ(&b, list.setAt(it, &d));
  EXPECT_EQ(&d, it->object());
  delete it;
  expectOrder(list, {&x, &d, &y});

  EXPECT_EQ(nullptr, list.setAt(nullptr, &a));
  YcRxLinkedListIterator done(&list);
  while (!done.done()) done.next();
  EXPECT_EQ(nullptr, list.setAt(&done, &a));
  expectOrder(list, {&x, &d, &y});
}

TEST_F(LinkedListTest, RemovingOrDestroyingNeverDeletesObjects) {
  ListProbe* p[3] = {new ListProbe, new ListProbe, new ListProbe};
  const int alive = ListProbe::sAlive;
  {
    YcRxLinkedList list;
    fill(list, {p[0], p[1], p[2]});
    list.removeFront();
    list.removeAt(p[1]);
    list.removeAll();
    expectOrder(list, {});
    fill(list, {p[0], p[1], p[2]});
  }  // destroyed while holding all three
  EXPECT_EQ(alive, ListProbe::sAlive);
  for (ListProbe* q : p) delete q;
}

TEST_F(LinkedListTest, ForeignIteratorIsReportedAndNeverUsed) {
  // A positioned iterator of another container class.
  YcRxPEClassMap map;
  map.setAt(&x, &y);
  YcRxIterator* foreign = map.newIterator();
  ASSERT_FALSE(foreign->done());

  YcRxLinkedList list;
  fill(list, {&a, &b});
  EXPECT_EQ(nullptr, list.removeAt(foreign));
  EXPECT_EQ(1, fatalCount(kForeignIterator));
  expectOrder(list, {&a, &b});

  EXPECT_EQ(nullptr, list.setAt(foreign, &c));
  EXPECT_EQ(2, fatalCount(kForeignIterator));
  expectOrder(list, {&a, &b});

  list.addAfter(foreign, &c);  // reported, then appended
  EXPECT_EQ(3, fatalCount(kForeignIterator));
  expectOrder(list, {&a, &b, &c});

  EXPECT_EQ(3, static_cast<int>(fatalMessages().size()));
  EXPECT_EQ(&y, foreign->object());
  EXPECT_EQ(&y, map.find(&x));

  // A finished iterator appends before its class is looked at; setAt checks the class first.
  foreign->next();
  ASSERT_TRUE(foreign->done());
  list.addAfter(foreign, &d);
  EXPECT_EQ(3, fatalCount(kForeignIterator));
  expectOrder(list, {&a, &b, &c, &d});
  EXPECT_EQ(nullptr, list.setAt(foreign, &x));
  EXPECT_EQ(4, fatalCount(kForeignIterator));
  delete foreign;
}

TEST_F(LinkedListTest, RegisteredUnderItsOwnNamesAndIterable) {
  YcRxLinkedList list;
  ASSERT_NE(nullptr, list.isA());
  EXPECT_STREQ(L"YcRxLinkedList", list.isA()->name());
  ASSERT_NE(nullptr, list.isA()->myParent());
  EXPECT_STREQ(L"YcRxGenericCollection", list.isA()->myParent()->name());
  EXPECT_TRUE(list.isKindOf(YcRxIterable::desc()));

  YcRxIterator* it = list.newIterator();
  ASSERT_NE(nullptr, YcRxLinkedListIterator::cast(it));
  EXPECT_STREQ(L"YcRxLinkedListIterator", it->isA()->name());
  EXPECT_STREQ(L"AcRxIterator", it->isA()->myParent()->name());
  delete it;
}

}  // namespace
