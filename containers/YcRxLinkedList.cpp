// The linked list behind YcRxGenericCollection, and its iterator.
#include "YcRxLinkedList.h"

#include "core/YcRxInternal.h"

YCRX_DEFINE_MEMBERS(YcRxIterable, L"YcRxIterable", L"AcRxObject")
YCRX_DEFINE_MEMBERS(YcRxGenericCollection, L"YcRxGenericCollection", L"YcRxIterable")
YCRX_DEFINE_MEMBERS(YcRxLinkedList, L"YcRxLinkedList", L"YcRxGenericCollection")
YCRX_DEFINE_MEMBERS(YcRxLinkedListIterator, L"YcRxLinkedListIterator", L"AcRxIterator")

namespace {
// A cell that soaks up writes when a node cannot be allocated.
YcRxObject* gSpareCell = nullptr;
YcRxObject*& spareCell() {
  gSpareCell = nullptr;
  return gSpareCell;
}
}  // namespace

YcRxIterable* GetIterableInterface(YcRxObject* obj) { return obj ? YcRxIterable::cast(obj) : nullptr; }

bool IsObjectIterable(YcRxObject* obj) { return GetIterableInterface(obj) != nullptr; }

// --- list --------------------------------------------------------------------

YcRxLinkedList::YcRxLinkedList() : mpFront(nullptr), mpTail(nullptr), mCount(0) {}

YcRxLinkedList::~YcRxLinkedList() { removeAll(); }

YcRxIterator* YcRxLinkedList::newIterator() const { return new YcRxLinkedListIterator(this); }

YcRxLinkedNode* YcRxLinkedList::newNode() { return new YcRxLinkedNode(); }

YcRxObject*& YcRxLinkedList::addTail() {
  YcRxLinkedNode* node = newNode();
  if (!node) return spareCell();
  node->prev() = mpTail;
  if (mpTail)
    mpTail->next() = node;
  else
    mpFront = node;
  mpTail = node;
  ++mCount;
  return node->object();
}

void YcRxLinkedList::addTail(YcRxObject* obj) { addTail() = obj; }

YcRxObject*& YcRxLinkedList::addFront() {
  YcRxLinkedNode* node = newNode();
  if (!node) return spareCell();
  node->next() = mpFront;
  if (mpFront)
    mpFront->prev() = node;
  else
    mpTail = node;
  mpFront = node;
  ++mCount;
  return node->object();
}

void YcRxLinkedList::addFront(YcRxObject* obj) { addFront() = obj; }

YcRxObject*& YcRxLinkedList::addAfter(YcRxIterator* it) {
  if (!it || it->done()) return addTail();
  YcRxLinkedListIterator* mine = YcRxLinkedListIterator::cast(it);
  if (!mine) {
    kmrxFatalCode(Ycad::eWrongObjectClass);
    return addTail();
  }
  YcRxLinkedNode* at = mine->curNode();
  if (at == mpTail) return addTail();
  YcRxLinkedNode* node = newNode();
  if (!node) return spareCell();
  node->prev() = at;
  node->next() = at->next();
  at->next()->prev() = node;
  at->next() = node;
  ++mCount;
  return node->object();
}

void YcRxLinkedList::addAfter(YcRxIterator* it, YcRxObject* obj) { addAfter(it) = obj; }

YcRxGenericCollection& YcRxLinkedList::insertTail(const YcRxGenericCollection& other) {
  // Bounded by the count taken up front, so a list can be inserted into itself.
  YcRxIterator* it = other.newIterator();
  for (int n = other.count(); n > 0 && !it->done(); --n, it->next()) addTail(it->object());
  delete it;
  return *this;
}

YcRxGenericCollection& YcRxLinkedList::insertFront(const YcRxGenericCollection& other) {
  // Only the first object ends up first; the later ones go right after the
  // front node, so they come in reverse order. Callers rely on this order.
  YcRxIterator* it = other.newIterator();
  int n = other.count();
  if (n > 0 && !it->done()) {
    addFront(it->object());
    it->next();
    for (--n; n > 0 && !it->done(); --n, it->next()) {
      YcRxIterator* here = newIterator();
      addAfter(here, it->object());
      delete here;
    }
  }
  delete it;
  return *this;
}

YcRxGenericCollection& YcRxLinkedList::insertAt(YcRxIterator* at, const YcRxGenericCollection& other) {
  if (!at) return insertTail(other);
  YcRxIterator* it = other.newIterator();
  for (int n = other.count(); n > 0 && !it->done(); --n, it->next()) addAfter(at, it->object());
  delete it;
  return *this;
}

void YcRxLinkedList::unlink(YcRxLinkedNode* node) {
  if (node->prev())
    node->prev()->next() = node->next();
  else
    mpFront = node->next();
  if (node->next())
    node->next()->prev() = node->prev();
  else
    mpTail = node->prev();
  --mCount;
}

YcRxObject* YcRxLinkedList::removeTail() {
  if (!mpTail) return nullptr;
  YcRxLinkedNode* node = mpTail;
  YcRxObject* obj = node->object();
  unlink(node);
  delete node;
  return obj;
}

YcRxObject* YcRxLinkedList::removeFront() {
  if (!mpFront) return nullptr;
  YcRxLinkedNode* node = mpFront;
  YcRxObject* obj = node->object();
  unlink(node);
  delete node;
  return obj;
}

YcRxObject* YcRxLinkedList::removeAt(YcRxIterator* it) {
  if (!it || it->done()) return nullptr;
  YcRxLinkedListIterator* mine = YcRxLinkedListIterator::cast(it);
  if (!mine) {
    kmrxFatalCode(Ycad::eWrongObjectClass);
    return nullptr;
  }
  YcRxLinkedNode* node = mine->curNode();
  if (node == mpFront) return removeFront();
  if (node == mpTail) return removeTail();
  YcRxObject* obj = node->object();
  unlink(node);
  delete node;
  return obj;
}

YcRxObject* YcRxLinkedList::removeAt(YcRxObject* obj) {
  for (YcRxLinkedNode* node = mpFront; node; node = node->next()) {
    if (node->object() == obj) {
      unlink(node);
      delete node;
      return obj;
    }
  }
  return nullptr;
}

void YcRxLinkedList::removeAll() {
  YcRxLinkedNode* node = mpFront;
  while (node) {
    YcRxLinkedNode* next = node->next();
    delete node;
    node = next;
  }
  mpFront = mpTail = nullptr;
  mCount = 0;
}

YcRxObject* YcRxLinkedList::setTail(YcRxObject* obj) {
  if (!mpTail) return nullptr;
  YcRxObject* old = mpTail->object();
  mpTail->object() = obj;
  return old;
}

YcRxObject* YcRxLinkedList::setFront(YcRxObject* obj) {
  if (!mpFront) return nullptr;
  YcRxObject* old = mpFront->object();
  mpFront->object() = obj;
  return old;
}

YcRxObject* YcRxLinkedList::setAt(YcRxIterator* it, YcRxObject* obj) {
  if (!it) return nullptr;
  YcRxLinkedListIterator* mine = YcRxLinkedListIterator::cast(it);
  if (!mine) {
    kmrxFatalCode(Ycad::eWrongObjectClass);
    return nullptr;
  }
  if (mine->done()) return nullptr;
  YcRxObject* old = mine->curNode()->object();
  mine->curNode()->object() = obj;
  return old;
}

YcRxObject* YcRxLinkedList::front() const { return mpFront ? mpFront->object() : nullptr; }

YcRxObject* YcRxLinkedList::tail() const { return mpTail ? mpTail->object() : nullptr; }

YcRxIterator* YcRxLinkedList::find(YcRxObject* obj) const {
  auto* it = new YcRxLinkedListIterator(this);
  while (!it->done() && it->object() != obj) it->next();
  return it;
}

bool YcRxLinkedList::contains(const YcRxObject* obj) const {
  for (YcRxLinkedNode* node = mpFront; node; node = node->next()) {
    YcRxObject* stored = node->object();
    if (stored == obj) return true;
    if (obj && stored && stored->isEqualTo(obj)) return true;
  }
  return false;
}

// --- iterator -------------------------------------------------------------------

YcRxLinkedListIterator::YcRxLinkedListIterator(const YcRxLinkedList* list)
    : mpCur(list ? list->frontNode() : nullptr) {}

bool YcRxLinkedListIterator::next() {
  if (!mpCur) return false;
  mpCur = mpCur->next();
  return mpCur != nullptr;
}
