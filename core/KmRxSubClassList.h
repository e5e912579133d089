// A class's list of sub-classes: a linked list like any other to whoever
// reads it, which also knows the node of each class it linked, so that a
// retired class leaves it in constant time. Every way a node can leave or
// change its object drops what it knew of it, so a known node is always
// alive; one whose object changed since is passed over for the plain search.
#pragma once
#include <unordered_map>

#include "KmHeap.h"
#include "YcRxLinkedList.h"

class KmRxSubClassList : public YcRxLinkedList {
public:
  // Appends a sub-class; false when there was no memory for its node.
  bool addClass(YcRxObject* cls);
  // Takes cls out; null when it is not in the list.
  YcRxObject* removeClass(YcRxObject* cls);

  YcRxObject* removeTail() override { return forget(YcRxLinkedList::removeTail()); }
  YcRxObject* removeFront() override { return forget(YcRxLinkedList::removeFront()); }
  YcRxObject* removeAt(YcRxIterator* it) override { return forget(YcRxLinkedList::removeAt(it)); }
  YcRxObject* removeAt(YcRxObject* obj) override { return forget(YcRxLinkedList::removeAt(obj)); }
  void removeAll() override {
    mNodes.clear();
    YcRxLinkedList::removeAll();
  }
  YcRxObject* setTail(YcRxObject* obj) override { return forget(YcRxLinkedList::setTail(obj)); }
  YcRxObject* setFront(YcRxObject* obj) override { return forget(YcRxLinkedList::setFront(obj)); }
  YcRxObject* setAt(YcRxIterator* it, YcRxObject* obj) override { return forget(YcRxLinkedList::setAt(it, obj)); }

private:
  YcRxObject* forget(YcRxObject* obj) {
    if (obj) mNodes.erase(obj);
    return obj;
  }

  std::unordered_map<const YcRxObject*, YcRxLinkedNode*, std::hash<const YcRxObject*>,
                     std::equal_to<const YcRxObject*>,
                     KmStdAllocator<std::pair<const YcRxObject* const, YcRxLinkedNode*>>>
      mNodes;
};
