// The list-file reader.
#include "YcadTextFileReader.h"

#include <clocale>
#include <cstdarg>
#include <cstdlib>
#include <cwchar>
#include <limits>
#include <locale>
#include <stdexcept>
#include <string>

#include "KmPathMaker.h"

namespace {

// The file is UTF-8 whatever locale the program runs in.
const std::locale& utf8Locale() {
  static const std::locale locale = [] {
    try {
      return std::locale("C.UTF-8");
    } catch (const std::runtime_error&) {
      return std::locale::classic();
    }
  }();
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
