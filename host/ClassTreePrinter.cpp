#include "ClassTreePrinter.h"

#include <cwchar>

#include "KmRx.h"

namespace {

void printClass(std::FILE* out, YcRxClass* cls, int depth) {
  const YcRxClassImp* imp = YcRxClassImp::getImpl(cls);
  std::fwprintf(out, L"%*ls%ls", depth * 2, L"", cls->name());
  if (const YcRxDynLoadModuleProxy* module = imp->moduleProxy())
    std::fwprintf(out, L"  [%ls]", module->fileName() ? module->fileName() : L"?");
  std::fwprintf(out, L"\n");
  if (YcRxLinkedList* subs = imp->subClasses())
    for (YcRxLinkedNode* n = subs->frontNode(); n; n = n->next())
      printClass(out, static_cast<YcRxClass*>(n->object()), depth + 1);
}

}  // namespace

void printClassTree(std::FILE* out, YcRxClass* root) {
  if (root) printClass(out, root, 0);
}
