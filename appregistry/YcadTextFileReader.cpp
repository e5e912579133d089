// The list-file reader.
#include "YcadTextFileReader.h"

#include <clocale>
#include <cstdarg>
#include <cstdlib>
#include <cwchar>
#include <limits>
#include <locale>
#include <string>

#include "KmPathMaker.h"
#include "KmUtf8.h"

namespace {

// The file is UTF-8 whatever locale the program runs in, decoded by the
// runtime's own decoder: a byte that is not UTF-8 becomes U+FFFD and the
// reading goes on, where the library's converter would stop the stream there.
class Utf8Conversion : public std::codecvt<wchar_t, char, std::mbstate_t> {
protected:
  result do_in(state_type&, const extern_type* from, const extern_type* fromEnd, const extern_type*& fromNext,
               intern_type* to, intern_type* toEnd, intern_type*& toNext) const override {
    fromNext = from;
    toNext = to;
    kmDecodeUtf8Chunk(fromNext, fromEnd, toNext, toEnd);
    return fromNext == fromEnd ? ok : partial;
  }
  // The reader never writes.
  result do_out(state_type&, const intern_type* from, const intern_type*, const intern_type*& fromNext,
                extern_type* to, extern_type*, extern_type*& toNext) const override {
    fromNext = from;
    toNext = to;
    return error;
  }
  result do_unshift(state_type&, extern_type* to, extern_type*, extern_type*& toNext) const override {
    toNext = to;
    return noconv;
  }
  int do_encoding() const noexcept override { return 0; }
  bool do_always_noconv() const noexcept override { return false; }
  int do_max_length() const noexcept override { return 4; }
  int do_length(state_type&, const extern_type* from, const extern_type* fromEnd,
                std::size_t max) const override {
    const extern_type* next = from;
    for (wchar_t one[1]; max > 0; --max) {
      wchar_t* out = one;
      if (kmDecodeUtf8Chunk(next, fromEnd, out, one + 1) || out == one) break;
    }
    return static_cast<int>(next - from);
  }
};

const std::locale& utf8Locale() {
  static const std::locale locale(std::locale::classic(), new Utf8Conversion);
  return locale;
}

// The cut-line flag lives in the stream's own word storage: the reader adds
// no fields to the stream.
int cutFlagSlot() {
  static const int slot = std::ios_base::xalloc();
  return slot;
}

constexpr std::size_t kNarrowPathBytes = 8;

}  // namespace

YcadTextFileReader::YcadTextFileReader() { imbue(utf8Locale()); }

YcadTextFileReader::~YcadTextFileReader() { close(); }

bool YcadTextFileReader::open(const wchar_t* path) {
  close();
  if (!path || !*path || !KmFileSystem::isFileExisting(path)) return false;
  if (!std::setlocale(LC_CTYPE, "UTF-8")) std::setlocale(LC_CTYPE, "C.UTF-8");
  // Only the first 8 bytes of the converted path are used; the name is built
  // from exactly the bytes converted, terminated or not.
  char* narrow = new char[kNarrowPathBytes];
  const std::size_t converted = std::wcstombs(narrow, path, kNarrowPathBytes);
  const bool usable = converted != static_cast<std::size_t>(-1) && converted > 0;
  const std::string name = usable ? std::string(narrow, converted) : std::string();
  delete[] narrow;
  if (!usable) return false;
  clear();
  std::wifstream::open(name);
  if (!is_open()) return false;
  *this >> std::ws;
  return true;
}

bool YcadTextFileReader::isOpen() const { return is_open(); }

void YcadTextFileReader::close() {
  if (is_open()) std::wifstream::close();
}

void YcadTextFileReader::nextLine(wchar_t* buffer, unsigned int size) {
  iword(cutFlagSlot()) = 0;
  if (!buffer || size == 0) return;
  buffer[0] = 0;
  *this >> std::ws;
  getline(buffer, static_cast<std::streamsize>(size));
  // A line longer than the buffer stops the stream; keep what fits, drop the
  // rest of the line and go on with the next.
  if (fail() && !eof() && !bad() && gcount() == static_cast<std::streamsize>(size) - 1) {
    clear();
    ignore(std::numeric_limits<std::streamsize>::max(), L'\n');
    iword(cutFlagSlot()) = 1;
  }
}

bool YcadTextFileReader::skipSpecial(wchar_t* buffer, unsigned int size, ...) {
  nextLine(buffer, size);
  bool ordinary = true;
  va_list pairs;
  va_start(pairs, size);
  for (;;) {
    const unsigned int n = va_arg(pairs, unsigned int);
    if (n == 0) break;
    const wchar_t* text = va_arg(pairs, const wchar_t*);
    // wcsncmp stops at a terminator, so an empty line never reads past its end.
    if (buffer && text && std::wcsncmp(buffer, text, n) == 0) {
      ordinary = false;
      break;
    }
  }
  va_end(pairs);
  return ordinary;
}

bool YcadTextFileReader::isEOF() const { return !is_open() || eof() || bad(); }

bool YcadTextFileReader::lastLineCut() { return iword(cutFlagSlot()) != 0; }
