// A failure report: where it happened and what went wrong, as wide text.
#pragma once
#include "KmRxExport.h"

class KMRX_API KmExceptionWithMsg {
public:
  KmExceptionWithMsg(const wchar_t* file, int line, const wchar_t* message);
  KmExceptionWithMsg(const KmExceptionWithMsg& other);
  KmExceptionWithMsg& operator=(const KmExceptionWithMsg& other);
  virtual ~KmExceptionWithMsg();

  const wchar_t* file() const { return mFile; }
  int line() const { return mLine; }
  const wchar_t* message() const { return mMessage; }

private:
  wchar_t* mFile;
  int mLine;
  wchar_t* mMessage;
};
