// Reads the host's input a whole line at a time: a line longer than a command
// may be is refused whole, never cut into two commands.
#pragma once
#include <cstddef>
#include <cstdio>
#include <string>

class LineReader {
public:
  // Longer lines are read to their end and refused.
  static constexpr std::size_t kMaxLine = 64 * 1024;

  explicit LineReader(std::FILE* in) : mpIn(in) {}

  enum class Result { kLine, kTooLong, kEnd };
  // The next line without its newline in line; kTooLong leaves in length how
  // long the refused line was.
  Result next(std::string& line, std::size_t& length);
  // 1-based number of the line last read.
  std::size_t lineNumber() const { return mLineNumber; }

private:
  std::FILE* mpIn;
  std::size_t mLineNumber = 0;
};
