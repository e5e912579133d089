// Path helpers: full names against the current directory, name pieces, the module key form,
// and the existence checks the linker's messages rely on.
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <utility>
#include <vector>

#include "KmRxTestSupport.h"

namespace {

using PathFn = bool (*)(const wchar_t*, wchar_t*, std::size_t);

// A scratch directory holding present.yrx, made current for the test.
class PlatformPathTest : public ::testing::Test {
protected:
  void SetUp() override {
    char pattern[] = "/tmp/kmrx_paths_XXXXXX", resolved[4096];
    ASSERT_TRUE(KmKernel32::GetCurrentDirectoryW(4096, mSaved) && ::mkdtemp(pattern) &&
                ::realpath(pattern, resolved));
    mDir = resolved;
    std::ofstream(mDir + "/present.yrx") << "data";
    ASSERT_TRUE(KmKernel32::SetCurrentDirectoryW(wide(mDir).c_str()));
  }
  void TearDown() override {
    KmKernel32::SetCurrentDirectoryW(mSaved);
    ::remove((mDir + "/present.yrx").c_str());
    ::rmdir(mDir.c_str());
  }
  static std::wstring wide(const std::string& s) { return std::wstring(s.begin(), s.end()); }
  static std::wstring piece(PathFn fn, const wchar_t* path) {
    wchar_t out[1024] = {};
    EXPECT_TRUE(fn(path, out, 1024)) << path;
    return out;
  }
  // "dir|name|ext"; outputs the caller does not want may be null.
  static std::wstring split(const wchar_t* path) {
    wchar_t part[3][1024];
    _wsplitpath(path, nullptr, part[0], part[1], part[2]);
    return std::wstring(part[0]) + L"|" + part[1] + L"|" + part[2];
  }

  wchar_t mSaved[4096] = {};
  std::string mDir;
};

TEST_F(PlatformPathTest, FullNamesResolveAgainstTheCurrentDirAndPiecesTakeTheLastDot) {
  const std::wstring dir = wide(mDir);
  for (const wchar_t* name : {L"m.yrx", L"./m.yrx", L"sub.d/../m.yrx"})
    EXPECT_EQ(dir + L"/m.yrx", piece(KmPathMaker::getFullFileName, name));
  EXPECT_EQ(L"/opt/c.yrx", piece(KmPathMaker::getFullFileName, L"/opt/a/./b/../../c.yrx"));
  EXPECT_EQ(dir + L"/absent/x.yrx", piece(KmPathMaker::getFullFileName, L"absent/x.yrx"));
  for (const auto& [path, full] : std::vector<std::pair<const wchar_t*, const wchar_t*>>{
           {L"/", L"/"}, {L"/..", L"/"}, {L"/a/../..", L"/"}, {L"//a//b/", L"/a/b"},
           {L"\\opt\\m.yrx", L"/opt/m.yrx"}, {L"/a/b/../../../c", L"/c"}, {L"/a/..b/.c", L"/a/..b/.c"}})
    EXPECT_EQ(full, piece(KmPathMaker::getFullFileName, path));
  {
    wchar_t small[8];  // longer on the way than at the end
    EXPECT_TRUE(KmPathMaker::getFullFileName(L"/abcdefghij/../k", small, 8));
    EXPECT_STREQ(L"/k", small);
    wchar_t same[32] = L"/x/./y/../z";  // the path's own buffer
    EXPECT_TRUE(KmPathMaker::getFullFileName(same, same, 32));
    EXPECT_STREQ(L"/x/z", same);
  }
  EXPECT_EQ(L"tool.v2", piece(KmPathMaker::getFileName, L"/opt/mods.d/tool.v2.yrx"));
  EXPECT_EQ(L".yrx", piece(KmPathMaker::getExtFileName, L"/opt/mods.d/tool.v2.yrx"));
  EXPECT_EQ(L"", piece(KmPathMaker::getExtFileName, L"/opt/mods.d/README"));
  EXPECT_EQ(L"/opt/mods.d/|tool.v2|.yrx", split(L"/opt/mods.d/tool.v2.yrx"));
  EXPECT_EQ(L"|tool|.yrx", split(L"tool.yrx"));
  EXPECT_EQ(L"/opt/mods/||", split(L"/opt/mods/"));
  EXPECT_EQ(L"mods/sub/t.yrx", piece(KmPathMaker::ToPlatformModuleName, L"mods\\sub\\t.yrx"));
  // The name with its extension is exactly the two pieces joined.
  for (const wchar_t* path : {L"/opt/mods.d/tool.v2.yrx", L"mods\\sub\\t.yrx", L"README", L"/a.b/c",
                              L".hidden", L"/opt/mods/", L""})
    EXPECT_EQ(piece(KmPathMaker::getFileName, path) + piece(KmPathMaker::getExtFileName, path),
              piece(KmPathMaker::getFileNameWithExt, path));
  EXPECT_EQ(L"t.yrx", piece(KmPathMaker::getFileNameWithExt, L"mods\\sub\\t.yrx"));

  wchar_t out[4];  // null inputs and results that do not fit give false
  for (PathFn fn : {KmPathMaker::getFullFileName, KmPathMaker::getFileName,
                    KmPathMaker::getExtFileName, KmPathMaker::getFileNameWithExt,
                    KmPathMaker::ToPlatformModuleName})
    EXPECT_FALSE(fn(L"/abc/long.yrx", out, 4) || fn(nullptr, out, 4));
  EXPECT_TRUE(KmPathMaker::ToPlatformModuleName(L"abc", out, 4)) << "exact fit";
  EXPECT_STREQ(L"abc", out);
  EXPECT_TRUE(KmPathMaker::getFileNameWithExt(L"/long/a.b", out, 4)) << "exact fit";
  EXPECT_STREQ(L"a.b", out);
}

TEST_F(PlatformPathTest, ExistenceChecksTellFilesFromDirectories) {
  const std::wstring file = wide(mDir + "/present.yrx"), dir = wide(mDir);
  EXPECT_TRUE(_waccess(file.c_str(), 4) == 0 && _waccess(dir.c_str(), 0) == 0);
  EXPECT_TRUE(_waccess(L"present.yrx", 0) == 0 && _waccess(L"missing.yrx", 0) == -1);
  EXPECT_TRUE(KmFileSystem::isFileExisting(file.c_str()) &&
              KmFileSystem::isFileExisting(L"present.yrx"));
  for (const wchar_t* no : {dir.c_str(), L"missing.yrx", L"", static_cast<const wchar_t*>(nullptr)})
    EXPECT_FALSE(KmFileSystem::isFileExisting(no));
}

}  // namespace
