#include "core/KmRxSubClassList.h"

bool KmRxSubClassList::addClass(YcRxObject* cls) {
  const int before = count();
  addTail(cls);
  if (count() == before) return false;
  try {
    mNodes[cls] = tailNode();
  } catch (const std::bad_alloc&) {
    // Not known: it is searched for when it leaves.
  }
  return true;
}

YcRxObject* KmRxSubClassList::removeClass(YcRxObject* cls) {
  const auto known = mNodes.find(cls);
  if (known != mNodes.end()) {
    YcRxLinkedNode* node = known->second;
    mNodes.erase(known);
    if (node->object() == cls) return take(node);
  }
  return forget(removeOnly(cls));
}
