// Messages to real modules, linker reactors, per-module flags and services.
#include <cwctype>
#include <memory>

#include "LinkerTestSupport.h"

using LinkerMessages = LinkerTest;

TEST_F(LinkerMessages, OneTimeLineOfMessagesReactorsAndLogWithDatabaseAwareReactorsFirst) {
  LogReactor plain(host, L"plain"), dbAware(host, L"db");
  linker()->addReactor(&plain);
  linker()->addDbAppAware(&dbAware);
  load(L"tm_good");
  EXPECT_TRUE(unload(L"tm_good"));
  // The module's own reactor joins during init and leaves in its unload
  // message: of its own life it hears only "loaded" and "willBeUnloaded".
  const std::wstring f = L" " + modulePath(L"tm_good");
  EXPECT_EQ((Lines{L"tm:tm_good constructed", L"db willBeLoaded" + f, L"plain willBeLoaded" + f,
                   L"tm:tm_good msg 1", L"db loaded" + f, L"plain loaded" + f,
                   L"tm:tm_good reactor loaded" + f, L"yrx" + f + L" load success",
                   L"yrx" + f + L" unload", L"db willBeUnloaded" + f, L"plain willBeUnloaded" + f,
                   L"tm:tm_good reactor willBeUnloaded" + f, L"tm:tm_good msg 2",
                   L"db unloaded" + f, L"plain unloaded" + f, L"tm:tm_good destroyed"}),
            host.logLines);

  linker()->removeDbAppAware(&dbAware);
  linker()->removeReactor(&plain);
}

TEST_F(LinkerMessages, RemovingAStrangerAsDatabaseAwareStillCountsDown) {
  LogReactor stranger(host, L"x");
  const int reactors = linker()->reactorCount(), dbAwareCount = linker()->dbAppAwareCount();
  linker()->removeDbAppAware(&stranger);
  EXPECT_EQ(dbAwareCount - 1, linker()->dbAppAwareCount());
  EXPECT_EQ(reactors, linker()->reactorCount());
  // Put the count back: adding counts up, a plain removal does not count down.
  linker()->addDbAppAware(&stranger);
  linker()->removeReactor(&stranger);
  EXPECT_EQ(dbAwareCount, linker()->dbAppAwareCount());
}

TEST_F(LinkerMessages, DeliveryByNameReportsFindingNotTheAnswerAndDeliveryToAllReachesEach) {
  const std::wstring good = modulePath(L"tm_good");
  load(L"tm_good");
  load(L"tm_api_1520");
  std::wstring shouted(good);
  for (wchar_t& c : shouted) c = static_cast<wchar_t>(std::towupper(c));
  EXPECT_TRUE(linker()->sendMessageToApp(shouted.c_str(), kTmRefuseMsg, nullptr))
      << "matched ignoring case; the refusal is not reported";
  EXPECT_EQ(Lines{L"tm:tm_good msg 77"}, logWith(L"tm:tm_good msg 77"));
  EXPECT_FALSE(linker()->sendMessageToApp(modulePath(L"tm_absent").c_str(), kTmPlainMsg, nullptr));
  EXPECT_FALSE(linker()->sendMessageToApp(L"", kTmPlainMsg, nullptr));

  EXPECT_EQ(0, linker()->sendMessageToAllApp(kTmPlainMsg, nullptr));
  EXPECT_EQ(1u, logWith(L"tm:tm_good msg 78").size());
  EXPECT_EQ(1u, logWith(L"tm:tm_api_1520 msg 78").size());
  EXPECT_TRUE(unload(L"tm_good"));
  EXPECT_TRUE(unload(L"tm_api_1520"));
}

TEST_F(LinkerMessages, AModuleMappedAgainUnderItsRecordIsReachedWhereItNowIs) {
  // Modules that register nothing, so nothing of them is left to call while unmapped.
  YcRxDynLoadModuleProxy* record = load(L"tm_api_1520");
  ASSERT_NE(nullptr, record);
  EXPECT_TRUE(linker()->sendMessageToApp(record, kTmPlainMsg, nullptr));
  record->unloadModule();
  // Something else takes the old place, so a kept entry point would run it.
  ASSERT_NE(nullptr, load(L"tm_api_1521"));
  ASSERT_EQ(0u, record->loadModule());
  EXPECT_TRUE(linker()->sendMessageToApp(record, kTmPlainMsg, nullptr));
  EXPECT_EQ(2u, logWith(L"tm:tm_api_1520 msg 78").size());
  EXPECT_EQ(0u, logWith(L"tm:tm_api_1521 msg 78").size());
  EXPECT_TRUE(unload(L"tm_api_1521"));
  EXPECT_TRUE(unload(L"tm_api_1520"));
}

TEST_F(LinkerMessages, FlagsThroughTheApplicationHandleAndQueriesByName) {
  YcRxService notARecord;
  EXPECT_FALSE(ycrxLockApplication(nullptr));
  EXPECT_FALSE(ycrxRegisterAppMDIAware(nullptr));
  EXPECT_FALSE(ycrxLockApplication(&notARecord));
  EXPECT_EQ(1, fatalCount(L"Rx module fatal error, code is 46"));

  // Unknown modules are reported busy and MDI aware, deliberately; empty names are not.
  const std::wstring absent = modulePath(L"tm_absent");
  EXPECT_TRUE(linker()->isAppBusy(absent.c_str()));
  EXPECT_TRUE(ycrxIsAppMDIAware(absent.c_str()));
  EXPECT_FALSE(linker()->isAppBusy(L""));
  EXPECT_FALSE(ycrxIsAppMDIAware(L""));
  EXPECT_FALSE(ycrxApplicationIsLocked(absent.c_str()));

  const std::wstring path = modulePath(L"tm_good");
  load(L"tm_good");
  EXPECT_FALSE(linker()->isAppBusy(path.c_str()));
  linker()->setAppBusy(path.c_str(), true);
  EXPECT_TRUE(linker()->isAppBusy(path.c_str()));
  EXPECT_TRUE(unload(L"tm_good"));
}

TEST_F(LinkerMessages, ServiceRegisteredOutsideAnyModuleBelongsToTheLibrary) {
  YcRxService* service = ycrxRegisterService(L"TmLinkerTestService");
  EXPECT_EQ(YcRxDynamicLinkerImp::mySelf(), service->getSysInfo());
  YcRxService* twice = ycrxRegisterService(L"TmLinkerTestService");
  EXPECT_EQ(1, fatalCount(L"Register service : \"TmLinkerTestService\" repeatedly!"));
  EXPECT_EQ(service, serviceDictionary()->at(L"TmLinkerTestService"));
  delete twice;
  serviceDictionary()->remove(L"TmLinkerTestService");
  delete service;
}

TEST_F(LinkerMessages, ModuleServiceResolvesItsSymbolsCountsDependentsAndLeavesWithIt) {
  const std::wstring path = modulePath(L"tm_good");
  YcRxDynLoadModuleProxy* record = load(L"tm_good");
  ASSERT_NE(nullptr, record);
  auto* service = YcRxService::cast(serviceDictionary()->at(L"TmGoodService"));
  ASSERT_NE(nullptr, service);
  EXPECT_EQ(record, service->getSysInfo());
  void* symbol = ycrxGetServiceSymbolAddr(L"TmGoodService", "tmInitCount");
  EXPECT_NE(nullptr, symbol);
  EXPECT_EQ(KmKernel32::GetProcAddress(record->rxModuleHandle(), "tmInitCount"), symbol);
  EXPECT_EQ(nullptr, ycrxGetServiceSymbolAddr(L"TmGoodService", "tmNoSuchSymbol"));
  host.clearRecords();
  EXPECT_TRUE(service->addDependency()) << "first dependent: message 10, answered OK";
  EXPECT_FALSE(service->addDependency());
  EXPECT_EQ(3, record->moduleRefCount());
  EXPECT_FALSE(service->unloadable());
  EXPECT_FALSE(service->removeDependency());
  EXPECT_FALSE(service->removeDependency());
  EXPECT_EQ(1, record->moduleRefCount());
  // Message 10 once; no message 11 while the count was above 0.
  EXPECT_EQ(Lines{L"tm:tm_good msg 10"}, logWith(L"tm:tm_good msg 1"));
  EXPECT_TRUE(ycrxUnloadModule(path.c_str()));
  EXPECT_TRUE(service->unloadable());
  EXPECT_TRUE(service->removeDependency()) << "count was 0: message 11";
  EXPECT_EQ((Lines{L"tm:tm_good msg 10", L"tm:tm_good msg 11"}), logWith(L"tm:tm_good msg 1"));
  EXPECT_EQ(-1, record->moduleRefCount());
  EXPECT_TRUE(ycrxUnloadModule(path.c_str()));
  EXPECT_FALSE(ycrxServiceIsRegistered(L"TmGoodService"));
}

TEST_F(LinkerMessages, DeliveryToAModuleWithoutEntryPointIsFatalAndRestoresTheContext) {
  // Any loaded library without "ycrxEntryPoint" will do: the message texts' module.
  wchar_t text[16];
  KmRxGetResString(1001, text, 16);
  std::unique_ptr<YcRxDynLoadModuleProxy> owned(
      YcRxDynLoadModuleProxy::createRxModuleProxy(KmKernel32::GetModuleHandleW(L"KmRxRes.dll")));
  YcRxDynLoadModuleProxy* record = owned.get();
  ASSERT_NE(nullptr, record->rxModuleHandle());
  record->setFileName(L"/somewhere/res.dll");
  void* before = linker()->currentModuleHandle();
  EXPECT_FALSE(linker()->sendMessageToApp(record, YcRx::kAppInitMsg, record));
  EXPECT_EQ(1, fatalCount(L"Cannot find YRX entry point from module: \"/somewhere/res.dll\"!!!"));
  EXPECT_EQ(before, linker()->currentModuleHandle());
  owned.reset();  // built around a handle it did not load, so nothing is released
  EXPECT_NE(nullptr, KmKernel32::GetModuleHandleW(L"KmRxRes.dll"));
}
