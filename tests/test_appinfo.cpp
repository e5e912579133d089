// The application record: names, its store entry and its loader (real loads: test_startup_apps).
#include "FakeHost.h"
#include "KmRxTestSupport.h"
#include "StoreTestSupport.h"

namespace {

class AppInfoTest : public RuntimeTest {
protected:
  AppInfoTest() { host.install(); }
  void TearDown() override {
    kmStoreCloseAll();
    RuntimeTest::TearDown();
  }

  FakeHost host;
  TempDir dir;
};

std::wstring text(const wchar_t* s) { return s ? s : L"<null>"; }

TEST_F(AppInfoTest, RegistersAsAcadAppInfoWhileTheRegistryClassesStayOut) {
  initDemandLoadYrxList();
  uninitDemandLoadYrxList();
  ASSERT_NE(nullptr, YcadAppInfo::desc());
  EXPECT_STREQ(L"AcadAppInfo", YcadAppInfo::desc()->name());
  EXPECT_EQ(YcRxObject::desc(), YcadAppInfo::desc()->myParent());
  // Their registered parents ("YcRxObject", "YcadAppInfo") do not exist.
  EXPECT_EQ(nullptr, YcadYrxRegCommand::desc());
  EXPECT_EQ(nullptr, YcadRegisterYrxInfo::desc());
}

TEST_F(AppInfoTest, FreshRecordImplementsAnythingUntilAReadFailsAndPrefersItsLoader) {
  YcadAppInfo info;
  EXPECT_EQ(YcadApp::kOnLoadRequest, info.loadReason());
  for (const wchar_t* command : {L"LINE", L"ANY.LINE", L".LINE", L"ANY.", L""})
    EXPECT_TRUE(info.appImplements(command)) << text(command);
  EXPECT_EQ(Ycad::eInvalidInput, info.readFromRegistry());  // no name
  EXPECT_FALSE(info.appImplements(L"ANY.LINE"));
  info.setAppName(L"Draw");
  EXPECT_EQ(Ycad::eInvalidInput, info.readFromRegistry());  // no store

  // The loader function comes first; without it or a module name nothing is tried.
  EXPECT_EQ(YcadAppInfo::kNothingLoaded, info.runAppLoader());
  EXPECT_TRUE(host.findFileNames.empty());
  static std::wstring seenName;
  info.setAppLoader([](void* imp) {
    seenName = text(static_cast<YcadAppInfoImp*>(imp)->appName());
    return YcadAppInfo::kModuleNotFound;
  });
  EXPECT_EQ(YcadAppInfo::kModuleNotFound, info.runAppLoader());
  EXPECT_EQ(L"Draw", seenName);
  // The linker failing, a missing file is told from one that would not load.
  info.setAppLoader(nullptr);
  info.setModuleName(L"no-such-module.yrx");
  EXPECT_EQ(YcadAppInfo::kModuleNotFound, info.runAppLoader());
  info.setModuleName(L"tm_text.yrx");  // there, but the linker refuses reason 4
  EXPECT_EQ(YcadAppInfo::kNothingLoaded, info.runAppLoader());
}

TEST_F(AppInfoTest, NamesLoseOneQuoteAtEachEndAndUrlsAreFetched) {
  YcadAppInfo info;
  for (auto c : {std::pair{L"\"Draw\"", L"Draw"}, {L"\"", L""}, {L"Draw\"", L"Draw"},
                 {L"\"\"Draw\"\"", L"\"Draw\""}, {L"Dr\"aw", L"Dr\"aw"}, {nullptr, nullptr}}) {
    info.setAppName(c.first);
    EXPECT_EQ(text(c.second), text(info.appName())) << text(c.first);
  }
  // A module name that is a URL is fetched; any answer but fetched or cached leaves none.
  host.remoteFiles[L"http://host/a.yrx"] = L"/cache/a.yrx";
  for (auto status : {Ycad::eRemoteFetched, Ycad::eRemoteCached, Ycad::eOk}) {
    host.remoteStatus = status;
    info.setModuleName(L"http://host/a.yrx");
    EXPECT_EQ(status == Ycad::eOk ? L"<null>" : L"/cache/a.yrx", text(info.moduleName()));
  }
  host.uninstall();
  info.setModuleName(L"http://host/a.yrx");
  EXPECT_EQ(L"http://host/a.yrx", text(info.moduleName()));
}

TEST_F(AppInfoTest, ReadFillsTheRecordMissingValuesKeepOrClearFieldsUnknownEntriesNothing) {
  openConfig(dir,
             "[Applications\\Draw]\n"
             "\"LOADCTRLS\"=dword:0000000d\n"
             "\"LOADER\"=\"tm_good.yrx\"\n"
             "\"DESCRIPTION\"=\"Drawing tools\"\n"
             "\"MANAGED\"=dword:00000001\n"
             "[Applications\\Bare]\n"
             "[Applications\\Elsewhere]\n"
             "\"LOADER\"=\"not-found-anywhere.yrx\"\n");
  YcadAppInfo info;
  info.setAppName(L"\"Draw\"");
  info.setManaged(true);
  info.setAppLoader([](void*) { return YcadAppInfo::kModuleLoaded; });
  ASSERT_EQ(Ycad::eOk, info.readFromRegistry());
  EXPECT_EQ(13, info.loadReason());
  EXPECT_EQ(testModulePath(L"tm_good.yrx"), text(info.moduleName()));  // found by the host
  EXPECT_EQ(L"Drawing tools", text(info.appDesc()));
  EXPECT_FALSE(info.managed());  // "MANAGED" is never read
  info.setAppName(L"Bare");
  ASSERT_EQ(Ycad::eOk, info.readFromRegistry());
  EXPECT_EQ(YcadApp::kNoReason, info.loadReason());  // cleared, not left or made 8
  EXPECT_EQ(testModulePath(L"tm_good.yrx"), text(info.moduleName()));
  EXPECT_EQ(L"Drawing tools", text(info.appDesc()));
  // The loader function was dropped: the linker is asked, and refuses reason 4.
  EXPECT_EQ(YcadAppInfo::kNothingLoaded, info.runAppLoader());
  info.setAppName(L"Elsewhere");
  ASSERT_EQ(Ycad::eOk, info.readFromRegistry());
  EXPECT_EQ(L"not-found-anywhere.yrx", text(info.moduleName()));

  // An unknown entry changes nothing, not even a failure recorded before.
  info.setLoadReason(YcadApp::kOnStartup);
  info.setAppName(L"");
  EXPECT_EQ(Ycad::eInvalidInput, info.readFromRegistry());
  info.setAppName(L"draw");  // names in the store are exact
  EXPECT_EQ(Ycad::eKeyNotFound, info.readFromRegistry());
  EXPECT_EQ(Ycad::eInvalidInput, info.status());
  EXPECT_EQ(YcadApp::kOnStartup, info.loadReason());
  EXPECT_EQ(L"not-found-anywhere.yrx", text(info.moduleName()));
}

}  // namespace
