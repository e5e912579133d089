// The demand-load registry: built from the store, merged by name, asked for command providers.
#include "LinkerTestSupport.h"
#include "StoreTestSupport.h"
#include "core/KmRxContext.h"

#include <cwchar>
#include <memory>
#include <random>

namespace {

using V = std::vector<std::wstring>;

std::string narrow(const wchar_t* text) { return std::string(text, text + std::wcslen(text)); }

// Items in this order: Draw, Paint, DRAW, NoCommands, NoGroups, EmptyGroups, Numbers, Good.
const char* const kStore =
    "[Applications\\Draw]\n\"LOADCTRLS\"=dword:00000022\n\"LOADER\"=\"draw.yrx\"\n"
    "[Applications\\Draw\\Groups]\n\"MAIN\"=\"\"\n"
    "[Applications\\Draw\\Commands]\n\"LINE\"=\"line\"\n\"CIRCLE\"=\"kreis\"\n"
    "[Applications\\Paint]\n\"LOADCTRLS\"=dword:00000008\n\"LOADER\"=\"paint.yrx\"\n"
    "[Applications\\Paint\\Groups]\n\"BRUSH\"=\"\"\n\"IGNORED\"=\"\"\n"
    "[Applications\\Paint\\Commands]\n\"LINE\"=\"strich\"\n\"FILL\"=\"fill\"\n"
    "[Applications\\DRAW]\n\"LOADCTRLS\"=dword:00000001\n\"LOADER\"=\"other.yrx\"\n"
    "[Applications\\DRAW\\Groups]\n\"main\"=\"\"\n"
    "[Applications\\DRAW\\Commands]\n\"LINE\"=\"duplicate\"\n\"ARC\"=\"bogen\"\n"
    "[Applications\\NoCommands\\Groups]\n\"G\"=\"\"\n"
    "[Applications\\NoGroups\\Commands]\n\"X\"=\"x\"\n"
    "[Applications\\EmptyGroups\\Groups]\n"
    "[Applications\\EmptyGroups\\Commands]\n\"SOLO\"=\"solo\"\n"
    "[Applications\\Numbers\\Groups]\n\"NUM\"=\"\"\n"
    "[Applications\\Numbers\\Commands]\n\"COUNT\"=dword:00000005\n"
    "[Applications\\Good]\n\"LOADCTRLS\"=dword:00000020\n\"LOADER\"=\"tm_good.yrx\"\n"
    "[Applications\\Good\\Groups]\n\"TM\"=\"\"\n"
    "[Applications\\Good\\Commands]\n\"TMCMD\"=\"tmcmd\"\n";

class DemandLoadTest : public LinkerTest {
protected:
  void TearDown() override {
    uninitDemandLoadYrxList();
    kmStoreCloseAll();
    LinkerTest::TearDown();
  }

  void build() {
    openConfig(dir, kStore);
    ASSERT_TRUE(initDemandLoadYrxList());
  }

  // Application names answering command, in the registry's order.
  static V providers(const wchar_t* command, bool onlyOnCommandBit = false, bool expected = true) {
    YcArray<YcadAppInfo*> out(0, 8);
    out.append(nullptr);  // must be emptied
    EXPECT_EQ(expected, getRegisterYrxAppInfoList(command, out, onlyOnCommandBit));
    V names;
    for (int i = 0; i < out.length(); ++i) names.emplace_back(out[i] ? out[i]->appName() : L"?");
    return names;
  }

  TempDir dir;
};

TEST_F(DemandLoadTest, CompleteEntriesMergeByNameNewestFirstAndAnswerQueries) {
  build();
  // NoCommands and NoGroups lack an item; EmptyGroups is kept, without a group.
  EXPECT_EQ(5, g_pRegYrxList->count());
  // "DRAW" went into "Draw": the first record's fields stay, groups merge by
  // name in any case, and on a repeated command the one held wins.
  YcadRegisterYrxInfo* draw = g_pRegYrxList->findYrxInfoWithAppName(L"draw");
  ASSERT_NE(nullptr, draw);
  EXPECT_STREQ(L"Draw", draw->appName());
  EXPECT_STREQ(L"draw.yrx", draw->moduleName());
  YcArray<const wchar_t*> all(0, 8);
  ASSERT_TRUE(getAllRegisterYrxAppCommandList(all));
  V locals;
  for (int i = 0; i < all.length(); ++i) locals.emplace_back(all[i]);
  // Newest first; a number where a local name belongs reads as an empty name.
  EXPECT_EQ((V{L"tmcmd", L"", L"fill", L"strich", L"bogen", L"kreis", L"line"}), locals);

  EXPECT_EQ((V{L"Paint", L"Draw"}), providers(L"LINE"));
  EXPECT_EQ((V{L"Paint", L"Draw"}), providers(L".line"));
  EXPECT_EQ((V{L"Draw"}), providers(L"main.LINE"));
  EXPECT_EQ((V{L"Paint"}), providers(L"BRUSH.line"));
  EXPECT_EQ((V{L"Draw"}), providers(L"kreis"));       // by local name
  EXPECT_EQ((V{L"Draw"}), providers(L"MAIN.bogen"));  // merged in from "DRAW"
  EXPECT_EQ(V{}, providers(L"IGNORED.LINE"));
  EXPECT_EQ(V{}, providers(L"SOLO"));  // its application has no group
  EXPECT_EQ(V{}, providers(L"MAIN.", false, false));
  EXPECT_EQ(V{}, providers(nullptr, false, false));
  // Only applications to be loaded on command (bit 32): Draw has it, Paint not.
  EXPECT_EQ((V{L"Draw"}), providers(L"LINE", true));
  EXPECT_EQ(V{}, providers(L"FILL", true));
  // An application whose module is loaded is never offered.
  EXPECT_EQ((V{L"Good"}), providers(L"TMCMD", true));
  load(L"tm_good");
  EXPECT_EQ(V{}, providers(L"TMCMD"));
  EXPECT_EQ(V{}, providers(L"TM.TMCMD", true));
  EXPECT_TRUE(unload(L"tm_good"));
}

TEST_F(DemandLoadTest, StoreIsReadOncePerLifetimeAndNothingAnswersOutsideIt) {
  YcArray<YcadRegisterYrxInfo*> list(0, 8);
  EXPECT_FALSE(getYrxAppInfoListFromRegister(list));  // no store
  YcArray<const wchar_t*> all(0, 8);
  EXPECT_FALSE(getAllRegisterYrxAppCommandList(all));
  build();
  // Reading hands over new records, in store order: merging is the registry's business.
  ASSERT_TRUE(getYrxAppInfoListFromRegister(list));
  V apps;
  for (int i = 0; i < list.length(); ++i) {
    apps.emplace_back(list[i]->appName());
    delete list[i];
  }
  EXPECT_EQ((V{L"Draw", L"Paint", L"DRAW", L"EmptyGroups", L"Numbers", L"Good"}), apps);
  openConfig(dir, "[Applications\\Other]\n");
  EXPECT_FALSE(getYrxAppInfoListFromRegister(list));  // no complete entry
  EXPECT_TRUE(initDemandLoadYrxList());
  EXPECT_EQ((V{L"Paint", L"Draw"}), providers(L"LINE"));
  EXPECT_TRUE(uninitDemandLoadYrxList());
  EXPECT_EQ(V{}, providers(L"LINE", false, false));
}

TEST_F(DemandLoadTest, GroupCountIsNotLoweredByCommandsTakenAway) {
  YcadYrxRegCmdGroup group(L"G"), other(L"g");
  group.insertCommand(new YcadYrxRegCommand(L"A", L"a"));
  group.insertCommand(new YcadYrxRegCommand(L"B", L"b"));
  group.insertCommand(new YcadYrxRegCommand(L"b", L"second b"));  // no duplicate check
  group.removeCommand(L"B");  // the front one of that name
  YcadYrxRegCommand* found = nullptr;
  ASSERT_TRUE(group.lookupCmd(L"B", true, 0, found));
  EXPECT_STREQ(L"b", found->localName());
  EXPECT_EQ(2, group.count());
  delete group.removeFrontCommand();  // hands B over, but the count stays
  EXPECT_EQ(2, group.count());
  EXPECT_FALSE(group.lookupCmd(L"b", false, 0, found));
  EXPECT_EQ(nullptr, found);
  other.insertCommand(new YcadYrxRegCommand(L"a", L"other a"));
  other.insertCommand(new YcadYrxRegCommand(L"D", L"d"));
  group.combineGroup(&other);
  EXPECT_EQ(2, other.count());  // unchanged, though now empty
  EXPECT_EQ(nullptr, other.removeFrontCommand());
  EXPECT_EQ(3, group.count());
  ASSERT_TRUE(group.lookupCmd(L"A", true, 0, found));
  EXPECT_STREQ(L"a", found->localName());  // the command held wins
  group.removeAllCommands();
  EXPECT_EQ(0, group.count());
}

TEST_F(DemandLoadTest, BuildingReportsNothingAndLeavesWaitingClassesWaiting) {
  KMRX_EXPECT_IN_CHILD({
    // The application-info class is registered afresh by the build.
    if (YcRxClass* registered = YcRxClass::cast(ycrxInternalGetClassDic()->at(L"AcadAppInfo"))) {
      deleteYcRxClass(registered);
      YcRxClassImp::destroyDoomedRxClasses(false);
    }
    YcRxClass* orphan = newYcRxClass(L"WaitsForItsParent", L"NotRegisteredYet");
    clearFatalMessages();
    openConfig(dir, kStore);
    EXPECT_TRUE(initDemandLoadYrxList());
    EXPECT_EQ(std::vector<std::wstring>{}, fatalMessages());
    EXPECT_NE(nullptr, YcadAppInfo::desc()->myParent()) << "the record's class is linked";
    EXPECT_EQ(nullptr, orphan->myParent());
    uninitDemandLoadYrxList();
  });
}

}  // namespace

// The command index against the walk over every record: random registries,
// random queries (global and local names in any case, with and without a
// group, unknown ones), the same answers in the same order; then again after
// the registry changes under it.
TEST_F(DemandLoadTest, TheCommandIndexAnswersAsTheWalkOverEveryRecord) {
  std::mt19937 random(5);
  const wchar_t* const words[] = {L"LINE", L"line", L"Arc", L"FILL", L"kreis", L"X", L"Zoom", L"pan"};
  const wchar_t* const groups[] = {L"MAIN", L"main", L"BRUSH", L"G"};
  // Module names: none loaded; tm_good by its path, the same path said
  // another way, and the same file name elsewhere (loaded only by name).
  const std::string good = narrow(modulePath(L"tm_good").c_str());
  const std::string goodDir = good.substr(0, good.rfind('/'));
  const std::string loaders[] = {"", good, goodDir + "/./tm_good.yrx", "elsewhere/TM_GOOD.yrx"};
  std::string store;
  for (int app = 0; app < 12; ++app) {
    const std::string name = "App" + std::to_string(app % 9);  // some merge by name
    const std::string loader = loaders[random() % 4];
    store += "[Applications\\" + name + "]\n\"LOADCTRLS\"=dword:0000002" + std::to_string(random() % 2 * 4) +
             "\n\"LOADER\"=\"" + (loader.empty() ? name + ".yrx" : loader) + "\"\n[Applications\\" + name +
             "\\Groups]\n";
    for (unsigned g = 0; g < 1 + random() % 2; ++g) store += "\"" + narrow(groups[random() % 4]) + "\"=\"\"\n";
    store += "[Applications\\" + name + "\\Commands]\n";
    for (unsigned c = 0; c < 1 + random() % 4; ++c)
      store += "\"" + narrow(words[random() % 8]) + "\"=\"" + narrow(words[random() % 8]) + "\"\n";
  }
  openConfig(dir, store);
  ASSERT_TRUE(initDemandLoadYrxList());
  std::vector<std::wstring> queries;
  for (const wchar_t* word : words) {
    queries.push_back(word);
    for (const wchar_t* group : groups) queries.push_back(std::wstring(group) + L"." + word);
    queries.push_back(std::wstring(L".") + word);
  }
  queries.push_back(L"NOSUCH");
  queries.push_back(L"MAIN.");
  const auto answers = [&] {
    std::vector<V> all;
    for (const std::wstring& query : queries)
      for (bool onCommand : {false, true}) {
        YcArray<YcadAppInfo*> out(0, 8);
        V names{getRegisterYrxAppInfoList(query.c_str(), out, onCommand) ? L"true" : L"false"};
        for (int i = 0; i < out.length(); ++i) names.emplace_back(out[i]->appName());
        all.push_back(names);
      }
    return all;
  };
  KmRxContext* context = kmrxContext();
  const auto indexedAndWalked = [&] {
    const std::vector<V> indexed = answers();
    EXPECT_TRUE(context->commandIndexValid) << "the index was used";
    context->commandIndexOff = true;
    const std::vector<V> walked = answers();
    context->commandIndexOff = false;
    EXPECT_EQ(walked, indexed);
    return indexed;
  };
  const std::vector<V> noneLoaded = indexedAndWalked();
  // With tm_good loaded its applications drop out; unloaded, they are back.
  load(L"tm_good");
  EXPECT_NE(noneLoaded, indexedAndWalked()) << "some application names tm_good";
  ASSERT_TRUE(unload(L"tm_good"));
  EXPECT_EQ(noneLoaded, indexedAndWalked());
  // A change under the index: the first record's first group gains a command.
  std::unique_ptr<YcRxIterator> records(g_pRegYrxList->newIterator());
  auto* first = static_cast<YcadRegisterYrxInfo*>(records->object());
  std::unique_ptr<YcRxIterator> firstGroups(first->newIterator());
  ASSERT_FALSE(firstGroups->done());
  static_cast<YcadYrxRegCmdGroup*>(firstGroups->object())->insertCommand(new YcadYrxRegCommand(L"NEWCMD", L"neu"));
  EXPECT_FALSE(context->commandIndexValid) << "the change is seen";
  queries.push_back(L"NEWCMD");
  queries.push_back(L"neu");
  const std::vector<V> after = answers();
  context->commandIndexOff = true;
  EXPECT_EQ(answers(), after);
  context->commandIndexOff = false;
}
