// The demand-load registry: built from the configuration store, merged by
// application and group name, and asked which applications provide a command.
#include <string>
#include <vector>

#include "LinkerTestSupport.h"
#include "StoreTestSupport.h"

namespace {

using V = std::vector<std::wstring>;

// Items in this order: Draw, Paint, DRAW, NoCommands, NoGroups, EmptyGroups, Numbers.
const char* const kStore =
    "[Applications\\Draw]\n"
    "\"LOADCTRLS\"=dword:00000022\n"
    "\"LOADER\"=\"draw.yrx\"\n"
    "\"DESCRIPTION\"=\"first\"\n"
    "[Applications\\Draw\\Groups]\n"
    "\"MAIN\"=\"\"\n"
    "[Applications\\Draw\\Commands]\n"
    "\"LINE\"=\"line\"\n"
    "\"CIRCLE\"=\"kreis\"\n"
    "[Applications\\Paint]\n"
    "\"LOADCTRLS\"=dword:00000008\n"
    "\"LOADER\"=\"paint.yrx\"\n"
    "[Applications\\Paint\\Groups]\n"
    "\"BRUSH\"=\"\"\n"
    "\"IGNORED\"=\"\"\n"
    "[Applications\\Paint\\Commands]\n"
    "\"LINE\"=\"strich\"\n"
    "\"FILL\"=\"fill\"\n"
    "[Applications\\DRAW]\n"
    "\"LOADCTRLS\"=dword:00000001\n"
    "\"LOADER\"=\"other.yrx\"\n"
    "[Applications\\DRAW\\Groups]\n"
    "\"main\"=\"\"\n"
    "[Applications\\DRAW\\Commands]\n"
    "\"LINE\"=\"duplicate\"\n"
    "\"ARC\"=\"bogen\"\n"
    "[Applications\\NoCommands\\Groups]\n"
    "\"G\"=\"\"\n"
    "[Applications\\NoGroups\\Commands]\n"
    "\"X\"=\"x\"\n"
    "[Applications\\EmptyGroups\\Groups]\n"
    "[Applications\\EmptyGroups\\Commands]\n"
    "\"SOLO\"=\"solo\"\n"
    "[Applications\\Numbers\\Groups]\n"
    "\"NUM\"=\"\"\n"
    "[Applications\\Numbers\\Commands]\n"
    "\"COUNT\"=dword:00000005\n";

class DemandLoadTest : public LinkerTest {
protected:
  void SetUp() override {
    LinkerTest::SetUp();
    kmStoreCloseAll();
  }
  void TearDown() override {
    uninitDemandLoadYrxList();
    kmStoreCloseAll();
    LinkerTest::TearDown();
  }

  void build(const char* store = kStore) {
    openConfig(dir, store);
    ASSERT_TRUE(initDemandLoadYrxList());
    ASSERT_NE(nullptr, g_pRegYrxList);
  }

  // Application names answering command, in the registry's order.
  static V providers(const wchar_t* command, bool onlyOnCommandBit = false, bool expected = true) {
    YcArray<YcadAppInfo*> out(0, 8);
    out.append(nullptr);  // must be emptied
    EXPECT_EQ(expected, getRegisterYrxAppInfoList(command, out, onlyOnCommandBit))
        << (command ? utf8(command) : "<null>");
    V names;
    for (int i = 0; i < out.length(); ++i)
      names.emplace_back(out[i] ? out[i]->appName() : L"<null>");
    return names;
  }

  // "global=local" of every command of group, front first.
  static V commands(const YcadYrxRegCmdGroup* group) {
    V out;
    YcRxIterator* it = group->newIterator();
    for (; !it->done(); it->next()) {
      auto* command = static_cast<YcadYrxRegCommand*>(it->object());
      out.push_back(std::wstring(command->globalName()) + L"=" +
                    (command->localName() ? command->localName() : L""));
    }
    delete it;
    return out;
  }

  TempDir dir;
};

TEST_F(DemandLoadTest, NothingAnswersBeforeTheRegistryIsBuilt) {
  EXPECT_EQ(nullptr, g_pRegYrxList);
  EXPECT_EQ(V{}, providers(L"LINE", false, false));
  YcArray<const wchar_t*> all(0, 8);
  all.append(L"stale");
  EXPECT_FALSE(getAllRegisterYrxAppCommandList(all));
  EXPECT_EQ(0, all.length());
  YcArray<YcadRegisterYrxInfo*> read(0, 8);
  EXPECT_FALSE(getYrxAppInfoListFromRegister(read));  // no store
}

TEST_F(DemandLoadTest, CompleteEntriesAreMergedByNameNewestFirst) {
  build();
  EXPECT_EQ(4, g_pRegYrxList->count());
  YcRxIterator* it = g_pRegYrxList->newIterator();
  V order;
  for (; !it->done(); it->next())
    order.emplace_back(static_cast<YcadRegisterYrxInfo*>(it->object())->appName());
  delete it;
  EXPECT_EQ((V{L"Numbers", L"EmptyGroups", L"Paint", L"Draw"}), order);

  // "DRAW" went into "Draw": the first record's fields stay, groups merge by
  // name in any case, and on a repeated command the one held wins.
  YcadRegisterYrxInfo* draw = g_pRegYrxList->findYrxInfoWithAppName(L"draw");
  ASSERT_NE(nullptr, draw);
  EXPECT_STREQ(L"Draw", draw->appName());
  EXPECT_STREQ(L"draw.yrx", draw->moduleName());
  EXPECT_STREQ(L"first", draw->appDesc());
  EXPECT_EQ(0x22, draw->loadReason());
  YcadYrxRegCmdGroup* main = draw->findGroupByName(L"Main");
  ASSERT_NE(nullptr, main);
  EXPECT_EQ((V{L"ARC=bogen", L"CIRCLE=kreis", L"LINE=line"}), commands(main));
  EXPECT_EQ(3, main->count());
  EXPECT_EQ(nullptr, draw->findGroupByName(L""));
  EXPECT_EQ(nullptr, draw->findGroupByName(nullptr));

  // Only the first key under "Groups" names a group; all commands go there.
  YcadRegisterYrxInfo* paint = g_pRegYrxList->findYrxInfoWithAppName(L"Paint");
  ASSERT_NE(nullptr, paint);
  EXPECT_EQ(nullptr, paint->findGroupByName(L"IGNORED"));
  EXPECT_EQ((V{L"FILL=fill", L"LINE=strich"}), commands(paint->findGroupByName(L"brush")));
  // "Groups" without values: kept, with no group.
  YcadRegisterYrxInfo* empty = g_pRegYrxList->findYrxInfoWithAppName(L"EmptyGroups");
  ASSERT_NE(nullptr, empty);
  YcRxIterator* groups = empty->newIterator();
  EXPECT_TRUE(groups->done());
  delete groups;
  EXPECT_EQ(nullptr, g_pRegYrxList->findYrxInfoWithAppName(L"NoCommands"));
  EXPECT_EQ(nullptr, g_pRegYrxList->findYrxInfoWithAppName(L"NoGroups"));

  YcArray<const wchar_t*> all(0, 8);
  ASSERT_TRUE(getAllRegisterYrxAppCommandList(all));
  V locals;
  for (int i = 0; i < all.length(); ++i) locals.emplace_back(all[i]);
  // A number where a local name belongs reads as an empty name.
  EXPECT_EQ((V{L"", L"fill", L"strich", L"bogen", L"kreis", L"line"}), locals);
}

TEST_F(DemandLoadTest, QueriesByCommandGroupAndLocalName) {
  build();
  EXPECT_EQ((V{L"Paint", L"Draw"}), providers(L"LINE"));
  EXPECT_EQ((V{L"Paint", L"Draw"}), providers(L".line"));
  EXPECT_EQ((V{L"Draw"}), providers(L"main.LINE"));
  EXPECT_EQ((V{L"Paint"}), providers(L"BRUSH.line"));
  EXPECT_EQ((V{L"Draw"}), providers(L"kreis"));       // by local name
  EXPECT_EQ((V{L"Draw"}), providers(L"MAIN.bogen"));  // merged in from "DRAW"
  EXPECT_EQ(V{}, providers(L"IGNORED.LINE"));
  EXPECT_EQ(V{}, providers(L"NOPE"));
  EXPECT_EQ(V{}, providers(L"SOLO"));  // its application has no group
  EXPECT_EQ(V{}, providers(L"MAIN.", false, false));
  EXPECT_EQ(V{}, providers(L"", false, false));
  EXPECT_EQ(V{}, providers(nullptr, false, false));
  // Only applications to be loaded on command (bit 32): Draw has it, Paint not.
  EXPECT_EQ((V{L"Draw"}), providers(L"LINE", true));
  EXPECT_EQ(V{}, providers(L"FILL", true));
}

TEST_F(DemandLoadTest, LoadedApplicationsAreNeverOffered) {
  build(
      "[Applications\\Good]\n"
      "\"LOADCTRLS\"=dword:00000020\n"
      "\"LOADER\"=\"tm_good.yrx\"\n"
      "[Applications\\Good\\Groups]\n"
      "\"TM\"=\"\"\n"
      "[Applications\\Good\\Commands]\n"
      "\"TMCMD\"=\"tmcmd\"\n");
  EXPECT_EQ((V{L"Good"}), providers(L"TMCMD", true));
  load(L"tm_good");
  EXPECT_EQ(V{}, providers(L"TMCMD"));
  EXPECT_EQ(V{}, providers(L"TM.TMCMD", true));
  EXPECT_TRUE(unload(L"tm_good"));
  EXPECT_EQ((V{L"Good"}), providers(L"TMCMD"));
}

TEST_F(DemandLoadTest, StoreIsReadOncePerLifetime) {
  build();
  openConfig(dir, "[Applications\\Other]\n");
  EXPECT_TRUE(initDemandLoadYrxList());
  EXPECT_EQ((V{L"Paint", L"Draw"}), providers(L"LINE"));
  EXPECT_TRUE(uninitDemandLoadYrxList());
  EXPECT_EQ(nullptr, g_pRegYrxList);
  EXPECT_EQ(V{}, providers(L"LINE", false, false));
  // Without a store the registry is built empty.
  kmStoreCloseAll();
  ASSERT_TRUE(initDemandLoadYrxList());
  ASSERT_NE(nullptr, g_pRegYrxList);
  EXPECT_EQ(0, g_pRegYrxList->count());
  EXPECT_EQ(V{}, providers(L"LINE"));
}

TEST_F(DemandLoadTest, ReadingTheStoreHandsOverNewRecords) {
  openConfig(dir, kStore);
  YcArray<YcadRegisterYrxInfo*> list(0, 8);
  ASSERT_TRUE(getYrxAppInfoListFromRegister(list));
  V apps;
  for (int i = 0; i < list.length(); ++i) {
    apps.emplace_back(list[i]->appName());
    delete list[i];
  }
  // Store order, both spellings of Draw: merging is the registry's business.
  EXPECT_EQ((V{L"Draw", L"Paint", L"DRAW", L"EmptyGroups", L"Numbers"}), apps);
  openConfig(dir, "[Applications\\OnlyAName]\n");
  EXPECT_FALSE(getYrxAppInfoListFromRegister(list));
}

TEST_F(DemandLoadTest, GroupKeepsItsCountTheWayItIsTold) {
  YcadYrxRegCmdGroup group(L"G");
  group.insertCommand(new YcadYrxRegCommand(L"A", L"a"));
  group.insertCommand(new YcadYrxRegCommand(L"B", L"b"));
  group.insertCommand(new YcadYrxRegCommand(L"C", nullptr));
  group.insertCommand(new YcadYrxRegCommand(L"B", L"second b"));  // no duplicate check
  EXPECT_EQ(4, group.count());
  YcadYrxRegCommand* found = nullptr;
  EXPECT_TRUE(group.lookupCmd(L"b", true, 0, found));
  EXPECT_STREQ(L"second b", found->localName());
  EXPECT_FALSE(group.lookupCmd(L"c", false, 0, found));  // C has no local name
  EXPECT_EQ(nullptr, found);

  group.removeCommand(L"b");  // the front one of that name
  EXPECT_EQ((V{L"C=", L"B=b", L"A=a"}), commands(&group));
  EXPECT_EQ(3, group.count());
  group.removeCommand(L"zz");
  EXPECT_EQ(3, group.count());

  // Taking the front command hands it over but leaves the count alone.
  YcadYrxRegCommand* front = group.removeFrontCommand();
  ASSERT_NE(nullptr, front);
  EXPECT_STREQ(L"C", front->globalName());
  delete front;
  EXPECT_EQ(3, group.count());

  YcadYrxRegCmdGroup other(L"g");
  other.insertCommand(new YcadYrxRegCommand(L"a", L"other a"));
  other.insertCommand(new YcadYrxRegCommand(L"D", L"d"));
  group.combineGroup(&other);
  EXPECT_EQ(2, other.count());  // unchanged, though now empty
  EXPECT_EQ(nullptr, other.removeFrontCommand());
  EXPECT_EQ(4, group.count());
  EXPECT_EQ((V{L"D=d", L"B=b", L"A=a"}), commands(&group));

  group.removeAllCommands();
  EXPECT_EQ(0, group.count());
  EXPECT_EQ(V{}, commands(&group));
}

}  // namespace
