// yrxhost: starts the runtime, shows its class tree, and tears it down.
#include <cstdio>
#include <cwchar>

#include "ClassTreePrinter.h"
#include "KmRx.h"

namespace {

// Fatal errors of the runtime are reported on the terminal; the host goes on.
class TerminalCrashRecorder : public KmCrashRecorder {
public:
  void record(const KmExceptionWithMsg& e) override {
    std::fwprintf(stderr, L"yrxhost: fatal: %ls\n", e.message() ? e.message() : L"");
  }
};

}  // namespace

int main() {
  TerminalCrashRecorder recorder;
  ycadSetCrashRecorder(&recorder);
  InitializeYcRxSystem();
  std::fwprintf(stdout, L"Class tree:\n");
  printClassTree(stdout, YcRxObject::desc());
  UninitializeYcRxSystem();
  ycadSetCrashRecorder(nullptr);
  return 0;
}
