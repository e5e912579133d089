// The application record: names, reading its entry from the configuration
// store, and the loader (without loading real modules; see test_startup_apps).
#include <cstdlib>
#include <string>

#include "FakeHost.h"
#include "KmRxTestSupport.h"
#include "StoreTestSupport.h"

namespace {

class AppInfoTest : public RuntimeTest {
protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    kmStoreCloseAll();
    host.install();
  }
  void TearDown() override {
    host.uninstall();
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
  YcadAppInfo info;
  EXPECT_EQ(YcadAppInfo::desc(), info.isA());
  EXPECT_EQ(&info, YcadAppInfo::cast(&info));
  // Their registered parents ("YcRxObject", "YcadAppInfo") do not exist.
  EXPECT_EQ(nullptr, YcadYrxRegCommand::desc());
  EXPECT_EQ(nullptr, YcadYrxRegCmdGroup::desc());
  EXPECT_EQ(nullptr, YcadRegisterYrxInfo::desc());
  EXPECT_EQ(nullptr, YcadRegisterYrxStack::desc());
  ycrxBuildClassHierarchy();
  EXPECT_EQ(0, fatalCount(L"Regist rx class with wrong order!!!"));
}

TEST_F(AppInfoTest, RegistersAgainAfterTheRuntimeRestarts) {
  // In a child, left with _Exit: the leak check at a normal exit would also
  // count what the parent's earlier tests left behind.
  EXPECT_EXIT(
      {
        initDemandLoadYrxList();
        uninitDemandLoadYrxList();
        UninitializeYcRxSystem();
        InitializeYcRxSystem();
        initDemandLoadYrxList();
        uninitDemandLoadYrxList();
        YcadAppInfo info;
        EXPECT_NE(nullptr, info.isA());
        EXPECT_EQ(static_cast<YcRxObject*>(info.isA()),
                  ycrxInternalGetClassDic()->at(L"AcadAppInfo"));
        std::_Exit(::testing::Test::HasFailure() ? 1 : 0);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(AppInfoTest, FreshRecordIsForLoadRequestsAndNeverWrites) {
  YcadAppInfo info;
  EXPECT_EQ(YcadApp::kOnLoadRequest, info.loadReason());
  EXPECT_EQ(Ycad::eOk, info.status());
  // The record never writes to the store, and says so by succeeding.
  EXPECT_EQ(Ycad::eOk, info.writeToRegistry(true, true));
  EXPECT_EQ(Ycad::eOk, info.delFromRegistry(true));
  EXPECT_EQ(Ycad::eOk, info.writeGroupNameToRegistry(L"G"));
  EXPECT_EQ(Ycad::eOk, info.writeCommandNameToRegistry(L"G", L"L"));
}

TEST_F(AppInfoTest, SetAppNameDropsOneQuoteAtEachEnd) {
  const struct {
    const wchar_t* given;
    const wchar_t* stored;
  } cases[] = {
      {L"\"Draw\"", L"Draw"}, {L"\"", L""},        {L"Draw\"", L"Draw"},       {L"\"Draw", L"Draw"},
      {L"\"\"Draw\"\"", L"\"Draw\""}, {L"Dr\"aw", L"Dr\"aw"}, {L"", L""},
  };
  YcadAppInfo info;
  for (const auto& c : cases) {
    info.setAppName(c.given);
    EXPECT_EQ(text(c.stored), text(info.appName())) << text(c.given);
  }
  info.setAppName(nullptr);
  EXPECT_EQ(nullptr, info.appName());
}

TEST_F(AppInfoTest, ModuleNamesThatAreUrlsAreFetchedThroughTheHost) {
  host.remoteFiles[L"http://host/a.yrx"] = L"/cache/a.yrx";
  YcadAppInfo info;
  info.setModuleName(L"http://host/a.yrx");
  EXPECT_EQ(L"/cache/a.yrx", text(info.moduleName()));
  host.remoteStatus = Ycad::eRemoteCached;
  info.setModuleName(L"http://host/a.yrx");
  EXPECT_EQ(L"/cache/a.yrx", text(info.moduleName()));
  // Any other answer leaves no module name at all.
  host.remoteStatus = Ycad::eOk;
  info.setModuleName(L"http://host/a.yrx");
  EXPECT_EQ(nullptr, info.moduleName());
  info.setModuleName(L"local.yrx");
  EXPECT_EQ(L"local.yrx", text(info.moduleName()));
  host.uninstall();
  info.setModuleName(L"http://host/a.yrx");
  EXPECT_EQ(L"http://host/a.yrx", text(info.moduleName()));
  info.setModuleName(nullptr);
  EXPECT_EQ(nullptr, info.moduleName());
  info.setAppDesc(L"about");
  info.setAppDesc(nullptr);
  EXPECT_EQ(nullptr, info.appDesc());
}

TEST_F(AppInfoTest, ImplementsEveryCommandUnlessTheLastReadFailed) {
  YcadAppInfo info;
  for (const wchar_t* command : {L"LINE", L"ANY.LINE", L".LINE", L"ANY.", L""})
    EXPECT_TRUE(info.appImplements(command)) << text(command);
  EXPECT_EQ(Ycad::eInvalidInput, info.readFromRegistry());  // no name
  EXPECT_EQ(Ycad::eInvalidInput, info.status());
  EXPECT_FALSE(info.appImplements(L"LINE"));
  EXPECT_FALSE(info.appImplements(L"ANY.LINE"));
  info.setAppName(L"Draw");
  EXPECT_EQ(Ycad::eInvalidInput, info.readFromRegistry());  // no store
}

TEST_F(AppInfoTest, ReadFillsTheRecordFromTheEntry) {
  openConfig(dir,
             "[Applications\\Draw]\n"
             "\"LOADCTRLS\"=dword:0000000d\n"
             "\"LOADER\"=\"tm_good.yrx\"\n"
             "\"DESCRIPTION\"=\"Drawing tools\"\n"
             "\"MANAGED\"=dword:00000001\n");
  YcadAppInfo info;
  info.setAppName(L"\"Draw\"");
  info.setManaged(true);
  int loaderCalls = 0;
  static int* calls = nullptr;
  calls = &loaderCalls;
  info.setAppLoader([](void*) {
    ++*calls;
    return YcadAppInfo::kModuleLoaded;
  });
  ASSERT_EQ(Ycad::eOk, info.readFromRegistry());
  EXPECT_EQ(13, info.loadReason());
  EXPECT_EQ(testModulePath(L"tm_good.yrx"), text(info.moduleName()));  // found by the host
  EXPECT_EQ(L"Drawing tools", text(info.appDesc()));
  EXPECT_FALSE(info.managed());  // "MANAGED" is never read
  EXPECT_EQ((std::vector<std::wstring>{L"tm_good.yrx"}), host.findFileNames);
  // The loader is dropped too: with a loader the record would not ask the linker.
  info.setLoadReason(YcadApp::kNoReason);  // the linker refuses, so nothing loads
  EXPECT_EQ(YcadAppInfo::kNothingLoaded, info.runAppLoader());
  EXPECT_EQ(0, loaderCalls);
}

TEST_F(AppInfoTest, MissingValuesKeepOrClearFields) {
  openConfig(dir,
             "[Applications\\Bare]\n"
             "[Applications\\Elsewhere]\n"
             "\"LOADER\"=\"not-found-anywhere.yrx\"\n");
  YcadAppInfo info;
  info.setAppName(L"Bare");
  info.setModuleName(L"kept.yrx");
  info.setAppDesc(L"kept");
  ASSERT_EQ(Ycad::eOk, info.readFromRegistry());
  EXPECT_EQ(YcadApp::kNoReason, info.loadReason());  // not the initial 8
  EXPECT_EQ(L"kept.yrx", text(info.moduleName()));
  EXPECT_EQ(L"kept", text(info.appDesc()));

  // A loader the host cannot find is kept as written.
  info.setAppName(L"Elsewhere");
  ASSERT_EQ(Ycad::eOk, info.readFromRegistry());
  EXPECT_EQ(L"not-found-anywhere.yrx", text(info.moduleName()));
  host.uninstall();
  info.setModuleName(nullptr);
  ASSERT_EQ(Ycad::eOk, info.readFromRegistry());
  EXPECT_EQ(L"not-found-anywhere.yrx", text(info.moduleName()));
}

TEST_F(AppInfoTest, UnknownEntryChangesNothing) {
  openConfig(dir, "[Applications\\Draw]\n");
  YcadAppInfo info;
  info.setAppName(L"Paint");
  info.setLoadReason(YcadApp::kOnStartup);
  info.setModuleName(L"paint.yrx");
  info.setManaged(true);
  EXPECT_EQ(Ycad::eKeyNotFound, info.readFromRegistry());
  EXPECT_EQ(Ycad::eOk, info.status());
  EXPECT_EQ(YcadApp::kOnStartup, info.loadReason());
  EXPECT_EQ(L"paint.yrx", text(info.moduleName()));
  EXPECT_TRUE(info.managed());
  // Nor does it clear a failure recorded before.
  info.setAppName(L"");
  EXPECT_EQ(Ycad::eInvalidInput, info.readFromRegistry());
  info.setAppName(L"Paint");
  EXPECT_EQ(Ycad::eKeyNotFound, info.readFromRegistry());
  EXPECT_EQ(Ycad::eInvalidInput, info.status());
  // Names in the store are exact.
  info.setAppName(L"draw");
  EXPECT_EQ(Ycad::eKeyNotFound, info.readFromRegistry());
}

TEST_F(AppInfoTest, RunAppLoaderPrefersTheLoaderFunction) {
  YcadAppInfo info;
  info.setAppName(L"Draw");
  // Without loader and module name nothing is tried.
  EXPECT_EQ(YcadAppInfo::kNothingLoaded, info.runAppLoader());
  EXPECT_TRUE(host.findFileNames.empty());

  static std::wstring seenName;
  info.setAppLoader([](void* imp) {
    seenName = text(static_cast<YcadAppInfoImp*>(imp)->appName());
    return YcadAppInfo::kModuleNotFound;
  });
  EXPECT_EQ(YcadAppInfo::kModuleNotFound, info.runAppLoader());
  EXPECT_EQ(L"Draw", seenName);

  // The default loader asks the linker; when that fails it tells a missing
  // file from one that would not load.
  info.setAppLoader(nullptr);
  info.setModuleName(L"no-such-module.yrx");
  EXPECT_EQ(YcadAppInfo::kModuleNotFound, info.runAppLoader());
  info.setModuleName(L"tm_text.yrx");  // there, but not a module
  EXPECT_EQ(YcadAppInfo::kNothingLoaded, info.runAppLoader());
  EXPECT_EQ(YcadApp::kOnLoadRequest, info.loadReason());  // the linker refused reason 4
}

}  // namespace
