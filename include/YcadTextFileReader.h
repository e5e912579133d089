// Reads a plain-text list file line by line, passing over comments and blank
// lines; the linker reads its list of start-up modules with it. It adds no
// fields to the stream: it is laid out exactly as one.
#pragma once
#include <fstream>
#include "KmRxExport.h"

class KMRX_API YcadTextFileReader : public std::wifstream {
public:
  YcadTextFileReader();
  ~YcadTextFileReader() override;

  // Opens path for reading. Only the first 8 bytes of the path's multibyte
  // form are used (a long-standing limit that callers rely on), so long
  // paths fail or name another file.
  bool open(const wchar_t* path);
  bool isOpen() const;
  void close();
  // Skips leading whitespace, then reads the rest of the line (at most
  // size - 1 characters; a longer line is cut there and its rest dropped).
  void nextLine(wchar_t* buffer, unsigned int size);
  // Reads the next line, then tests it against pairs (unsigned n, const
  // wchar_t* text) ending with a 0 count: false when the line's first n
  // characters equal a pair's text (a line to pass over), else true.
  bool skipSpecial(wchar_t* buffer, unsigned int size, ...);
  // True at the end of the file (or when the file cannot be read further).
  bool isEOF() const;
  // Whether the last line read was longer than the buffer.
  bool lastLineCut();
};
