// Helpers of the linker tests, which load the real modules of tests/modules:
// a fixture with a fresh host per test, module paths, the message texts as
// the user sees them and a reactor that writes into the host's log.
#pragma once
#include <string>
#include <vector>

#include "FakeHost.h"
#include "KmKernel32.h"
#include "KmPathMaker.h"
#include "KmRxTestSupport.h"

using Lines = std::vector<std::wstring>;

// Message codes the test modules understand besides the linker's own.
constexpr auto kTmRefuseMsg = static_cast<YcRx::AppMsgCode>(77);
constexpr auto kTmPlainMsg = static_cast<YcRx::AppMsgCode>(78);
constexpr auto kTmUnloadSelfMsg = static_cast<YcRx::AppMsgCode>(79);
constexpr auto kTmThrowMsg = static_cast<YcRx::AppMsgCode>(81);

inline YcRxDynamicLinkerImp* linker() {
  return YcRxDynamicLinkerImp::cast(ycrxSysRegistry()->at(L"DynamicLinker"));
}

inline YcRxDictionary* serviceDictionary() {
  return static_cast<YcRxDictionary*>(ycrxSysRegistry()->at(L"ServiceDictionary"));
}

// Full path of test module name (without ".yrx").
inline std::wstring modulePath(const wchar_t* name) {
  return testModulePath((std::wstring(name) + L".yrx").c_str());
}

inline bool isMapped(const std::wstring& path) {
  return KmKernel32::GetModuleHandleW(path.c_str()) != nullptr;
}

// Resource message id with its one "%s" filled in.
inline std::wstring resText(int id, const std::wstring& arg) {
  wchar_t format[1024];
  EXPECT_TRUE(KmRxGetResString(id, format, 1024)) << id;
  std::wstring text(format);
  const std::size_t at = text.find(L"%s");
  EXPECT_NE(std::wstring::npos, at) << "message " << id << " has no argument";
  if (at != std::wstring::npos) text.replace(at, 2, arg);
  return text;
}

// Writes every notification into the host's log, "<tag> <event> <file>".
class LogReactor : public YcRxDLinkerReactor {
public:
  LogReactor(FakeHost& host, const wchar_t* tag) : mHost(host), mTag(tag) {}
  void rxAppWillBeLoaded(const wchar_t* f) override { note(L"willBeLoaded", f); }
  void rxAppLoaded(const wchar_t* f) override { note(L"loaded", f); }
  void rxAppLoadAborted(const wchar_t* f) override { note(L"loadAborted", f); }
  void rxAppWillBeUnloaded(const wchar_t* f) override { note(L"willBeUnloaded", f); }
  void rxAppUnloaded(const wchar_t* f) override { note(L"unloaded", f); }
  void rxAppUnloadAborted(const wchar_t* f) override { note(L"unloadAborted", f); }

private:
  void note(const wchar_t* event, const wchar_t* f) {
    mHost.logLines.push_back(mTag + L" " + event + L" " + f);
  }
  FakeHost& mHost;
  std::wstring mTag;
};

class LinkerTest : public RuntimeTest {
protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    host.install();
  }

  void TearDown() override {
    EXPECT_EQ(0, linker()->loadedModuleCount()) << "the test left modules loaded";
    EXPECT_EQ(0, linker()->unloadDepth());
    // Keeps a failed test from spoiling the next ones.
    YcArray<const YcRxDynLoadModuleProxy*> left(0, 8);
    linker()->getLoadedModules(left);
    for (int i = 0; i < left.length(); ++i) {
      auto* record = const_cast<YcRxDynLoadModuleProxy*>(left[i]);
      record->unlock();
      linker()->startYrxUnloadProtocol(record, true);
    }
    host.uninstall();
    RuntimeTest::TearDown();
  }

  // Loads test module name by its full path and returns its record.
  YcRxDynLoadModuleProxy* load(const wchar_t* name, bool printIt = false, bool asCmd = false) {
    const std::wstring path = modulePath(name);
    EXPECT_TRUE(ycrxLoadModule(path.c_str(), printIt, asCmd)) << name;
    return linker()->findRxModuleProxyByModuleName(path.c_str(), false);
  }

  // A module loaded once goes with two calls: the first only drops the count.
  bool unload(const wchar_t* name) {
    const std::wstring path = modulePath(name);
    const bool first = ycrxUnloadModule(path.c_str());
    return ycrxUnloadModule(path.c_str()) && first;
  }

  // Host log lines that begin with prefix, in order.
  Lines logWith(const std::wstring& prefix) const {
    Lines out;
    for (const std::wstring& line : host.logLines)
      if (line.compare(0, prefix.size(), prefix) == 0) out.push_back(line);
    return out;
  }

  FakeHost host;
};
