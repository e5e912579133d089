// The list-file reader: comment and blank lines, the 8-byte path limit, long lines.
#include "KmRxTestSupport.h"
#include "StoreTestSupport.h"

namespace {

using V = std::vector<std::wstring>;

class TextReaderTest : public ::testing::Test {
protected:
  // The ordinary lines of file, read the way the linker reads a list.
  V ordinaryLines(const wchar_t* file) {
    V lines;
    EXPECT_TRUE(reader.open(file));
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
  YcadTextFileReader reader;
};

TEST_F(TextReaderTest, PassesOverCommentsAndBlankLinesAndOpensOnlyWhatExists) {
  dir.write("mods.lst",
            "\n\n  first.yrx\n; a comment\n   ; an indented comment\n\t\n;\n// another comment\n"
            "/not/a/comment.yrx\n\t  second.yrx  \ncaf\xC3\xA9.yrx\n"
            "last.yrx");  // no line end
  EXPECT_EQ((V{L"first.yrx", L"/not/a/comment.yrx", L"second.yrx  ", L"caf\xE9.yrx", L"last.yrx"}),
            ordinaryLines(L"mods.lst"));
  EXPECT_TRUE(reader.isOpen());
  // A failed open closes what was open before.
  EXPECT_FALSE(reader.open(L"absent.lst"));
  EXPECT_FALSE(reader.isOpen());
  EXPECT_FALSE(reader.open(nullptr));
  EXPECT_FALSE(reader.open(L""));
}

TEST_F(TextReaderTest, OnlyTheFirstEightBytesOfThePathAreUsed) {
  // Exactly eight bytes: converted without a terminator, and still right.
  dir.write("abcd.lst", "eight\n");
  EXPECT_EQ((V{L"eight"}), ordinaryLines(L"abcd.lst"));
  // Longer: the file is checked under its full name but opened under eight bytes of it.
  dir.write("abcdefgh.lst", "the named file\n");
  dir.write("abcdefgh", "its first eight bytes\n");
  EXPECT_EQ((V{L"its first eight bytes"}), ordinaryLines(L"abcdefgh.lst"));
  dir.write("longer-name.lst", "never read\n");
  EXPECT_FALSE(reader.open(L"longer-name.lst"));
  // Multibyte characters count by their bytes: "\xE9" is two.
  dir.write("\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9.lst", "accented\n");
  dir.write("\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9", "first four\n");
  EXPECT_EQ((V{L"first four"}), ordinaryLines(L"\xE9\xE9\xE9\xE9.lst"));
}

TEST_F(TextReaderTest, OverLongLineIsCutAndReadingGoesOn) {
  dir.write("long.lst", std::string(1500, 'a') + "\n" + std::string(1023, 'b') + "\nnext\n");
  ASSERT_TRUE(reader.open(L"long.lst"));
  wchar_t line[1024];
  auto next = [&] {
    reader.nextLine(line, 1024);
    return std::wstring(line);
  };
  EXPECT_EQ(std::wstring(1023, L'a'), next());
  EXPECT_TRUE(reader.lastLineCut());
  EXPECT_EQ(std::wstring(1023, L'b'), next());
  EXPECT_FALSE(reader.lastLineCut());
  EXPECT_EQ(L"next", next());
  next();
  EXPECT_TRUE(reader.isEOF());
}

TEST_F(TextReaderTest, BytesThatAreNotUtf8BecomeReplacementsAndTheRestIsRead) {
  // Over the stream's read size, so sequences are split between reads too.
  std::string many;
  for (int i = 0; i < 3000; ++i) many += "\xC3\xA9";
  dir.write("bad.lst", "a\xFF" "b.yrx\n" "c\xE2\x82.yrx\n" + std::string(200, '\x80') + "\n" + many +
                           "\nafter.yrx\nlast\xF0\x9F\x98");  // cut short at the very end
  ASSERT_TRUE(reader.open(L"bad.lst"));
  std::vector<std::wstring> lines;
  for (int guard = 0; !reader.isEOF() && guard < 10; ++guard) {
    wchar_t line[8000];
    reader.nextLine(line, 8000);
    lines.emplace_back(line);
  }
  ASSERT_EQ(6u, lines.size());
  EXPECT_EQ(L"last", lines[5]) << "a character cut short by the end of the file is dropped";
  EXPECT_EQ(L"a\xFFFD" L"b.yrx", lines[0]);
  EXPECT_EQ(L"c\xFFFD.yrx", lines[1]);
  EXPECT_EQ(std::wstring(200, L'\xFFFD'), lines[2]);
  EXPECT_EQ(std::wstring(3000, L'\xE9'), lines[3]);
  EXPECT_EQ(L"after.yrx", lines[4]);
}

}  // namespace
