// The linked list behind YcRxGenericCollection, and its iterator.
#include "YcRxLinkedList.h"

#include "core/KmRxContext.h"
#include "core/YcRxInternal.h"

YCRX_DEFINE_MEMBERS(YcRxIterable, L"YcRxIterable", L"AcRxObject")
YCRX_DEFINE_MEMBERS(YcRxGenericCollection, L"YcRxGenericCollection", L"YcRxIterable")
YCRX_DEFINE_MEMBERS(YcRxLinkedList, L"YcRxLinkedList", L"YcRxGenericCollection")
YCRX_DEFINE_MEMBERS(YcRxLinkedListIterator, L"YcRxLinkedListIterator", L"AcRxIterator")

namespace {
// Soaks up the write when a node cannot be allocated. The context keeps it;
// a list used outside the runtime's life gets this one.
YcRxObject* gDormantSpareCell = nullptr;
YcRxObject*& spareCell() {
  KmRxContext* context = kmrxContext();
  YcRxObject*& cell = context ? context->listSpareCell : gDormantSpareCell;
  cell = nullptr;
  return cell;
}
}  // namespace

YcRxIterable* GetIterableInterface(YcRxObject* obj) { return obj ? YcRxIterable::cast(obj) : nullptr; }

bool IsObjectIterable(YcRxObject* obj) { return GetIterableInterface(obj) != nullptr; }

// --- list --------------------------------------------------------------------

YcRxLinkedList::YcRxLinkedList() : mpFront(nullptr), mpTail(nullptr), mCount(0) {}

YcRxLinkedList::~YcRxLinkedList() { removeAll(); }

YcRxIterator* YcRxLinkedList::newIterator() const { return new YcRxLinkedListIterator(this); }

YcRxLinkedNode* YcRxLinkedList::newNode() { return new YcRxLinkedNode(); }

// A new node between prev and next (either null at an end).
YcRxObject*& YcRxLinkedList::linkNew(YcRxLinkedNode* prev, YcRxLinkedNode* next) {
  YcRxLinkedNode* node = newNode();
  if (!node) return spareCell();
  node->prev() = prev;
  node->next() = next;
  (prev ? prev->next() : mpFront) = node;
  (next ? next->prev() : mpTail) = node;
  ++mCount;
  return node->object();
}

YcRxObject*& YcRxLinkedList::addTail() { return linkNew(mpTail, nullptr); }

void YcRxLinkedList::addTail(YcRxObject* obj) { addTail() = obj; }

YcRxObject*& YcRxLinkedList::addFront() { return linkNew(nullptr, mpFront); }

void YcRxLinkedList::addFront(YcRxObject* obj) { addFront() = obj; }

// The iterator's node when it is a list iterator standing on a node of this
// list; otherwise reports 46 and gives null. Only the ends are checked: a
// node whose missing neighbour is not this list's end belongs to another list.
YcRxLinkedNode* YcRxLinkedList::ownNode(YcRxIterator* it) const {
  YcRxLinkedListIterator* mine = YcRxLinkedListIterator::cast(it);
  YcRxLinkedNode* node = mine ? mine->curNode() : nullptr;
  if (mine && (!node || ((node->prev() || node == mpFront) && (node->next() || node == mpTail))))
    return node;
  kmrxFatalCode(Ycad::eWrongObjectClass);
  return nullptr;
}

YcRxObject* YcRxLinkedList::take(YcRxLinkedNode* node) {
  YcRxObject* obj = node->object();
  unlink(node);
  delete node;
  return obj;
}

YcRxObject*& YcRxLinkedList::addAfter(YcRxIterator* it) {
  if (!it || it->done()) return addTail();
  YcRxLinkedNode* at = ownNode(it);
  if (!at) return addTail();
  return linkNew(at, at->next());
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
    // The front node stays the front, so one iterator standing on it serves all.
    YcRxIterator* front = newIterator();
    for (--n; n > 0 && !it->done(); --n, it->next()) addAfter(front, it->object());
    delete front;
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

YcRxObject* YcRxLinkedList::removeTail() { return mpTail ? take(mpTail) : nullptr; }

YcRxObject* YcRxLinkedList::removeFront() { return mpFront ? take(mpFront) : nullptr; }

YcRxObject* YcRxLinkedList::removeAt(YcRxIterator* it) {
  if (!it || it->done()) return nullptr;
  YcRxLinkedNode* node = ownNode(it);
  return node ? take(node) : nullptr;
}

YcRxObject* YcRxLinkedList::removeAt(YcRxObject* obj) {
  for (YcRxLinkedNode* node = mpFront; node; node = node->next())
    if (node->object() == obj) return take(node);
  return nullptr;
}

YcRxObject* YcRxLinkedList::removeOnly(YcRxObject* obj) {
  YcRxLinkedNode* front = mpFront;
  YcRxLinkedNode* tail = mpTail;
  for (; front && tail; front = front->next(), tail = tail->prev()) {
    if (front->object() == obj) return take(front);
    if (tail->object() == obj) return take(tail);
    if (front == tail || front->next() == tail) break;
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
  YcRxLinkedNode* node = ownNode(it);
  if (!node) return nullptr;  // foreign, or done
  YcRxObject* old = node->object();
  node->object() = obj;
  return old;
}

YcRxObject* YcRxLinkedList::front() const { return mpFront ? mpFront->object() : nullptr; }

YcRxObject* YcRxLinkedList::tail() const { return mpTail ? mpTail->object() : nullptr; }

// find and removeAt(obj) match by identity, contains by equality too; modules rely on it.
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
