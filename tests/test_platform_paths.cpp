// Path helpers: full names against the current directory, name pieces, the
// module key form, and the existence checks the linker's messages rely on.
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "KmRxTestSupport.h"

namespace {

std::string narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }
std::wstring widen(const std::string& text) { return std::wstring(text.begin(), text.end()); }

// A scratch directory made current for the test; the old one comes back after.
class PlatformPathTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_NE(0u, KmKernel32::GetCurrentDirectoryW(4096, mSaved));
    char pattern[] = "/tmp/kmrx_paths_XXXXXX";
    ASSERT_NE(nullptr, ::mkdtemp(pattern));
    char resolved[4096];
    ASSERT_NE(nullptr, ::realpath(pattern, resolved));
    mDir = widen(resolved);
    ASSERT_TRUE(KmKernel32::SetCurrentDirectoryW(mDir.c_str()));
    mFile = mDir + L"/present.yrx";
    std::ofstream(narrow(mFile)) << "data";
    mSubDir = mDir + L"/sub.d";
    ::mkdir(narrow(mSubDir).c_str(), 0755);
  }
  void TearDown() override {
    KmKernel32::SetCurrentDirectoryW(mSaved);
    ::remove(narrow(mFile).c_str());
    ::rmdir(narrow(mSubDir).c_str());
    ::rmdir(narrow(mDir).c_str());
  }

  static std::wstring full(const wchar_t* path) {
    wchar_t out[1024];
    EXPECT_TRUE(KmPathMaker::getFullFileName(path, out, 1024)) << narrow(path);
    return out;
  }
  static std::wstring baseName(const wchar_t* path) {
    wchar_t out[1024];
    EXPECT_TRUE(KmPathMaker::getFileName(path, out, 1024)) << narrow(path);
    return out;
  }
  static std::wstring extension(const wchar_t* path) {
    wchar_t out[1024];
    EXPECT_TRUE(KmPathMaker::getExtFileName(path, out, 1024)) << narrow(path);
    return out;
  }

  struct Split {
    std::wstring drive, dir, name, ext;
  };
  static Split split(const wchar_t* path) {
    wchar_t drive[1024], dir[1024], name[1024], ext[1024];
    for (wchar_t* buffer : {drive, dir, name, ext}) buffer[0] = L'#', buffer[1] = 0;
    _wsplitpath(path, drive, dir, name, ext);
    return {drive, dir, name, ext};
  }

  wchar_t mSaved[4096] = {};
  std::wstring mDir, mFile, mSubDir;
};

TEST_F(PlatformPathTest, FullFileNameResolvesAgainstTheCurrentDirectory) {
  EXPECT_EQ(mDir + L"/m.yrx", full(L"m.yrx"));
  EXPECT_EQ(mDir + L"/m.yrx", full(L"./m.yrx"));
  EXPECT_EQ(mDir + L"/m.yrx", full(L"sub.d/../m.yrx"));
  EXPECT_EQ(mDir + L"/sub.d/m.yrx", full(L"sub.d/./m.yrx"));
  EXPECT_EQ(mDir, full(L"."));
  EXPECT_EQ(mDir.substr(0, mDir.rfind(L'/')), full(L".."));
  EXPECT_EQ(L"/opt/c.yrx", full(L"/opt/a/./b/../../c.yrx"));
  // The name need not exist.
  EXPECT_EQ(mDir + L"/absent/x.yrx", full(L"absent/x.yrx"));
}

TEST_F(PlatformPathTest, NamePiecesTakeOnlyTheLastDotOfTheNamePart) {
  EXPECT_EQ(L"tool.v2", baseName(L"/opt/mods.d/tool.v2.yrx"));
  EXPECT_EQ(L".yrx", extension(L"/opt/mods.d/tool.v2.yrx"));
  EXPECT_EQ(L"README", baseName(L"/opt/mods.d/README"));
  EXPECT_EQ(L"", extension(L"/opt/mods.d/README"));
  EXPECT_EQ(L"tool", baseName(L"tool.yrx"));
  EXPECT_EQ(L".yrx", extension(L"tool.yrx"));
}

TEST_F(PlatformPathTest, SplitPathKeepsTheSeparatorOnTheDirectoryAndTheDotOnTheExtension) {
  Split s = split(L"/opt/mods.d/tool.v2.yrx");
  EXPECT_EQ(L"", s.drive);
  EXPECT_EQ(L"/opt/mods.d/", s.dir);
  EXPECT_EQ(L"tool.v2", s.name);
  EXPECT_EQ(L".yrx", s.ext);

  s = split(L"/opt/mods.d/tool");
  EXPECT_EQ(L"/opt/mods.d/", s.dir);
  EXPECT_EQ(L"tool", s.name);
  EXPECT_EQ(L"", s.ext);

  s = split(L"tool.yrx");
  EXPECT_EQ(L"", s.drive);
  EXPECT_EQ(L"", s.dir);
  EXPECT_EQ(L"tool", s.name);
  EXPECT_EQ(L".yrx", s.ext);

  s = split(L"/opt/mods/");
  EXPECT_EQ(L"/opt/mods/", s.dir);
  EXPECT_EQ(L"", s.name);
  EXPECT_EQ(L"", s.ext);

  // Outputs the caller does not want may be null.
  wchar_t dir[1024];
  _wsplitpath(L"/a/b.c", nullptr, dir, nullptr, nullptr);
  EXPECT_STREQ(L"/a/", dir);
}

TEST_F(PlatformPathTest, ModuleNamesUseForwardSlashes) {
  wchar_t out[64];
  EXPECT_TRUE(KmPathMaker::ToPlatformModuleName(L"mods\\sub\\tool.yrx", out, 64));
  EXPECT_STREQ(L"mods/sub/tool.yrx", out);
  EXPECT_TRUE(KmPathMaker::ToPlatformModuleName(L"/opt/mods/tool.yrx", out, 64));
  EXPECT_STREQ(L"/opt/mods/tool.yrx", out);
}

TEST_F(PlatformPathTest, OutputsThatDoNotFitGiveFalse) {
  wchar_t out[4];
  EXPECT_FALSE(KmPathMaker::getFullFileName(L"/abc/def", out, 4));
  EXPECT_FALSE(KmPathMaker::getFileName(L"/d/longname.yrx", out, 4));
  EXPECT_FALSE(KmPathMaker::getExtFileName(L"a.yrx", out, 4));
  EXPECT_FALSE(KmPathMaker::ToPlatformModuleName(L"abcd", out, 4));
  EXPECT_TRUE(KmPathMaker::ToPlatformModuleName(L"abc", out, 4)) << "exact fit";
  EXPECT_STREQ(L"abc", out);
  EXPECT_FALSE(KmPathMaker::getFullFileName(nullptr, out, 4));
  EXPECT_FALSE(KmPathMaker::getFileName(nullptr, out, 4));
  EXPECT_FALSE(KmPathMaker::ToPlatformModuleName(nullptr, out, 4));
}

TEST_F(PlatformPathTest, ExistenceChecksTellFilesFromDirectories) {
  const std::wstring missing = mDir + L"/missing.yrx";
  EXPECT_EQ(0, _waccess(mFile.c_str(), 0));
  EXPECT_EQ(0, _waccess(mFile.c_str(), 4));
  EXPECT_EQ(0, _waccess(mSubDir.c_str(), 0));
  EXPECT_EQ(-1, _waccess(missing.c_str(), 0));
  EXPECT_EQ(0, _waccess(L"present.yrx", 0)) << "relative to the current directory";

  EXPECT_TRUE(KmFileSystem::isFileExisting(mFile.c_str()));
  EXPECT_TRUE(KmFileSystem::isFileExisting(L"present.yrx"));
  EXPECT_FALSE(KmFileSystem::isFileExisting(mSubDir.c_str()));
  EXPECT_FALSE(KmFileSystem::isFileExisting(missing.c_str()));
  EXPECT_FALSE(KmFileSystem::isFileExisting(L""));
  EXPECT_FALSE(KmFileSystem::isFileExisting(nullptr));
}

}  // namespace
