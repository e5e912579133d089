// The doubly linked list of object pointers behind YcRxGenericCollection.
// It owns its nodes only; objects stay with whoever added them.
#pragma once
#include "YcBaseClassWithNew.h"
#include "YcRxGenericCollection.h"

class KMRX_API YcRxLinkedNode : public YcBaseClassWithNew {
public:
  YcRxLinkedNode() : mpPrev(nullptr), mpNext(nullptr), mpObject(nullptr) {}
  ~YcRxLinkedNode() { mpPrev = mpNext = nullptr, mpObject = nullptr; }

  YcRxLinkedNode*& prev() { return mpPrev; }
  YcRxLinkedNode* const& prev() const { return mpPrev; }
  YcRxLinkedNode*& next() { return mpNext; }
  YcRxLinkedNode* const& next() const { return mpNext; }
  YcRxObject*& object() { return mpObject; }
  YcRxObject* const& object() const { return mpObject; }

private:
  YcRxLinkedNode* mpPrev;
  YcRxLinkedNode* mpNext;
  YcRxObject* mpObject;
};

class KMRX_API YcRxLinkedList : public YcRxGenericCollection {
public:
  YCRX_DECLARE_MEMBERS(YcRxLinkedList);

  YcRxLinkedList();
  ~YcRxLinkedList() override;
  YcRxLinkedList(const YcRxLinkedList&) = delete;
  YcRxLinkedList& operator=(const YcRxLinkedList&) = delete;

  YcRxIterator* newIterator() const override;
  YcRxObject*& addTail() override;
  void addTail(YcRxObject* obj) override;
  YcRxObject*& addFront() override;
  void addFront(YcRxObject* obj) override;
  YcRxObject*& addAfter(YcRxIterator* it) override;
  void addAfter(YcRxIterator* it, YcRxObject* obj) override;
  YcRxGenericCollection& insertTail(const YcRxGenericCollection& other) override;
  YcRxGenericCollection& insertFront(const YcRxGenericCollection& other) override;
  YcRxGenericCollection& insertAt(YcRxIterator* it, const YcRxGenericCollection& other) override;
  YcRxObject* removeTail() override;
  YcRxObject* removeFront() override;
  YcRxObject* removeAt(YcRxIterator* it) override;
  YcRxObject* removeAt(YcRxObject* obj) override;
  void removeAll() override;
  YcRxObject* setTail(YcRxObject* obj) override;
  YcRxObject* setFront(YcRxObject* obj) override;
  YcRxObject* setAt(YcRxIterator* it, YcRxObject* obj) override;
  YcRxObject* front() const override;
  YcRxObject* tail() const override;
  YcRxIterator* find(YcRxObject* obj) const override;
  bool isEmpty() const override { return mpFront == nullptr; }
  int count() const override { return mCount; }
  bool contains(const YcRxObject* obj) const override;

  YcRxLinkedNode* frontNode() const { return mpFront; }
  // removeAt(obj) for an object the list holds at most once, looked for from
  // both ends at the same time: a batch retired in either order finds each
  // near an end. Which of two equal nodes it takes is not fixed.
  YcRxObject* removeOnly(YcRxObject* obj);
  YcRxLinkedNode* tailNode() const { return mpTail; }

protected:
  // Unlinks and frees node; its object.
  YcRxObject* take(YcRxLinkedNode* node);

private:
  YcRxLinkedNode* newNode();
  YcRxObject*& linkNew(YcRxLinkedNode* prev, YcRxLinkedNode* next);
  void unlink(YcRxLinkedNode* node);
  YcRxLinkedNode* ownNode(YcRxIterator* it) const;

  YcRxLinkedNode* mpFront;
  YcRxLinkedNode* mpTail;
  int mCount;
};

class KMRX_API YcRxLinkedListIterator : public YcRxIterator {
public:
  YCRX_DECLARE_MEMBERS(YcRxLinkedListIterator);

  explicit YcRxLinkedListIterator(const YcRxLinkedList* list);

  bool done() const override { return mpCur == nullptr; }
  bool next() override;
  YcRxObject* object() const override { return mpCur ? mpCur->object() : nullptr; }
  YcRxLinkedNode* curNode() const { return mpCur; }

private:
  YcRxLinkedNode* mpCur;
};
