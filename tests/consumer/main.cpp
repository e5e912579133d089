// Starts the runtime from the installed package, registers a class, checks it
// is linked into the tree, and tears down.
#include <KmRx.h>

#include <cstdio>

int main() {
  InitializeYcRxSystem();
  YcRxClass* cls = newYcRxClass(L"ConsumerThing", L"AcRxObject");
  ycrxBuildClassHierarchy();
  const bool linked = cls && cls->myParent() == YcRxObject::desc();
  YcRxDictionary* classes = ycrxInternalGetClassDic();
  const bool found = classes->at(L"consumerthing") == cls;  // the class dictionary ignores case
  UninitializeYcRxSystem();
  std::printf("consumer: linked=%d found=%d\n", linked, found);
  return linked && found ? 0 : 1;
}
