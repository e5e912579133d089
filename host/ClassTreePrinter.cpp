#include "ClassTreePrinter.h"

#include "KmRx.h"

namespace {

void addClass(std::vector<std::wstring>& lines, YcRxClass* cls, int depth) {
  const YcRxClassImp* imp = YcRxClassImp::getImpl(cls);
  std::wstring line(static_cast<size_t>(depth) * 2, L' ');
  line += cls->name();
  if (const YcRxDynLoadModuleProxy* module = imp->moduleProxy()) {
    wchar_t name[kKmTextBuffer];
    KmPathMaker::getFileNameWithExt(module->fileName(), name, kKmTextBuffer);
    line += std::wstring(L"   [") + name + L"]";
  }
  lines.push_back(line);
  if (YcRxLinkedList* subs = imp->subClasses())
    for (YcRxLinkedNode* n = subs->frontNode(); n; n = n->next())
      addClass(lines, static_cast<YcRxClass*>(n->object()), depth + 1);
}

}  // namespace

std::vector<std::wstring> classTreeLines(YcRxClass* root) {
  std::vector<std::wstring> lines;
  if (root) addClass(lines, root, 0);
  return lines;
}
