#include "core/KmRxClassLineage.h"

#include <new>

#include "KmHeap.h"
#include "YcRxClassImp.h"
#include "YcRxLinkedList.h"

namespace {

constexpr int kMaxDepth = kMaxClassDepth;

// False when its parents run in a loop. Without memory the class gets no
// line (the walk answers for it) and the true answer still lets the descent
// go on to its sub-classes.
bool computeLine(YcRxClassImp* cls) {
  KmRxClassLineage* line = kmrxLineageOf(cls);
  if (!line) return true;
  int depth = 0;
  for (const YcRxClass* c = cls->myParent(); c; c = c->myParent())
    if (++depth > kMaxDepth) break;
  if (depth > kMaxDepth) {
    line->depth = -1;
    return false;
  }
  if (depth + 1 > line->capacity) {
    auto* grown = static_cast<const YcRxClass**>(_kmMalloc(sizeof(YcRxClass*) * (depth + 1)));
    if (!grown) {
      line->depth = -1;
      return true;
    }
    _kmFree(line->chain);
    line->chain = grown;
    line->capacity = depth + 1;
  }
  int at = depth;
  for (const YcRxClass* c = cls; c; c = c->myParent()) line->chain[at--] = c;
  line->depth = depth;
  return true;
}

std::uint32_t gPass = 0;

// Every class below is reached once a pass, so parents linked in a loop
// (whose classes, and those under them, get no line) do not send it round.
void relink(YcRxClassImp* cls, int level) {
  if (KmRxClassLineage* line = kmrxLineageOf(cls)) {
    if (line->visited == gPass) return;
    line->visited = gPass;
  }
  computeLine(cls);
  if (level > kMaxDepth || !cls->subClasses()) return;
  for (YcRxLinkedNode* node = cls->subClasses()->frontNode(); node; node = node->next())
    if (auto* sub = static_cast<YcRxClassImp*>(static_cast<YcRxClass*>(node->object())))
      if (sub->myParent() == cls) relink(sub, level + 1);
}

}  // namespace

void kmrxRelinkLineage(YcRxClassImp* cls) {
  if (!cls) return;
  if (++gPass == 0) ++gPass;  // 0 is what a new line holds
  relink(cls, 0);
}

void* kmrxNewWithLineage(std::size_t size) noexcept {
  void* block = _kmMalloc(sizeof(KmRxClassLineage) + size);
  if (!block) return nullptr;
  auto* line = ::new (block) KmRxClassLineage{KmRxClassLineage::kMagic, -1, 0, 0, nullptr};
  return line + 1;
}

void kmrxDeleteWithLineage(void* object) noexcept {
  if (!object) return;
  KmRxClassLineage* line = static_cast<KmRxClassLineage*>(object) - 1;
  _kmFree(line->chain);
  line->magic = 0;
  _kmFree(line);
}
