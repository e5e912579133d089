#include "LineReader.h"

LineReader::Result LineReader::next(std::string& line, std::size_t& length) {
  line.clear();
  length = 0;
  int c = std::getc(mpIn);
  if (c == EOF) return Result::kEnd;
  ++mLineNumber;
  for (; c != EOF && c != '\n'; c = std::getc(mpIn)) {
    // Past the limit only the length is kept, so a huge line costs no memory.
    if (++length <= kMaxLine) line.push_back(static_cast<char>(c));
  }
  if (length > kMaxLine) {
    line.clear();
    return Result::kTooLong;
  }
  return Result::kLine;
}
