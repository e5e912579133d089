// The list-file reader: comment and blank lines, the 8-byte path limit, long lines.
#include <string>
#include <vector>

#include "KmRxTestSupport.h"
#include "StoreTestSupport.h"

namespace {

class TextReaderTest : public ::testing::Test {
protected:
  // The ordinary lines of the open reader, read the way the linker reads a list.
  static std::vector<std::wstring> ordinaryLines(YcadTextFileReader& reader) {
    std::vector<std::wstring> lines;
    for (int guard = 0; !reader.isEOF() && guard < 100; ++guard) {
      wchar_t line[1024];
      if (reader.skipSpecial(line, 1024, 1u, L";", 1u, L"", 2u, L"//", 0u))
        lines.emplace_back(line);
    }
    EXPECT_TRUE(reader.isEOF());
    return lines;
  }

  CtypeLocaleGuard locale;
  TempDir dir;
  CurrentDirGuard cwd{dir.path()};
};

using V = std::vector<std::wstring>;

TEST_F(TextReaderTest, PassesOverCommentsAndBlankLines) {
  dir.write("mods.lst",
            "\n\n  first.yrx\n"
            "; a comment\n"
            "   ; an indented comment\n"
            "\t\n"
            ";\n"
            "// another comment\n"
            "/not/a/comment.yrx\n"
            "\t  second.yrx  \n"
            "caf\xC3\xA9.yrx\n"
            "last.yrx");  // no line end
  YcadTextFileReader reader;
  ASSERT_TRUE(reader.open(L"mods.lst"));
  EXPECT_TRUE(reader.isOpen());
  EXPECT_EQ((V{L"first.yrx", L"/not/a/comment.yrx", L"second.yrx  ", L"caf\xE9.yrx", L"last.yrx"}),
            ordinaryLines(reader));
  reader.close();
  EXPECT_FALSE(reader.isOpen());
}

TEST_F(TextReaderTest, OpenFailsForNullEmptyAndMissingPaths) {
  YcadTextFileReader reader;
  EXPECT_FALSE(reader.open(nullptr));
  EXPECT_FALSE(reader.open(L""));
  EXPECT_FALSE(reader.open(L"absent.lst"));
  EXPECT_FALSE(reader.isOpen());
  // A failed open also closes what was open before.
  dir.write("a.lst", "x\n");
  ASSERT_TRUE(reader.open(L"a.lst"));
  EXPECT_FALSE(reader.open(L"absent.lst"));
  EXPECT_FALSE(reader.isOpen());
  EXPECT_TRUE(reader.isEOF());
}

TEST_F(TextReaderTest, OnlyTheFirstEightBytesOfThePathAreUsed) {
  // Exactly eight bytes: converted without a terminator, and still right.
  dir.write("abcd.lst", "eight\n");
  // Longer: the file is checked under its full name but opened under eight bytes of it.
  dir.write("abcdefgh.lst", "the named file\n");
  dir.write("abcdefgh", "its first eight bytes\n");
  dir.write("longer-name.lst", "never read\n");
  YcadTextFileReader reader;
  ASSERT_TRUE(reader.open(L"abcd.lst"));
  EXPECT_EQ((V{L"eight"}), ordinaryLines(reader));
  ASSERT_TRUE(reader.open(L"abcdefgh.lst"));
  EXPECT_EQ((V{L"its first eight bytes"}), ordinaryLines(reader));
  EXPECT_FALSE(reader.open(L"longer-name.lst"));
  // A full path begins with the temporary directory, which eight bytes do not reach.
  EXPECT_FALSE(reader.open(dir.file("abcd.lst").c_str()));
  // Multibyte characters count by their bytes: "\xE9" is two.
  dir.write("\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9.lst", "accented\n");
  dir.write("\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9", "first four\n");
  ASSERT_TRUE(reader.open(L"\xE9\xE9\xE9\xE9.lst"));
  EXPECT_EQ((V{L"first four"}), ordinaryLines(reader));
}

TEST_F(TextReaderTest, OverLongLineIsCutAndReadingGoesOn) {
  dir.write("long.lst", std::string(1500, 'a') + "\n" + std::string(1023, 'b') + "\nnext\n");
  YcadTextFileReader reader;
  ASSERT_TRUE(reader.open(L"long.lst"));
  wchar_t line[1024];
  reader.nextLine(line, 1024);
  EXPECT_EQ(std::wstring(1023, L'a'), line);
  EXPECT_TRUE(reader.lastLineCut());
  reader.nextLine(line, 1024);
  EXPECT_EQ(std::wstring(1023, L'b'), line);
  EXPECT_FALSE(reader.lastLineCut());
  reader.nextLine(line, 1024);
  EXPECT_STREQ(L"next", line);
  EXPECT_FALSE(reader.isEOF());
  reader.nextLine(line, 1024);
  EXPECT_STREQ(L"", line);
  EXPECT_TRUE(reader.isEOF());
}

}  // namespace
