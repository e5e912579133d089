// Reports to the host: messages through its services object, lines in its log.
#include "core/KmRxReports.h"

#include <cxxabi.h>
#include <cstdlib>
#include <typeinfo>

#include "KmPathMaker.h"
#include "KmUtf8.h"
#include "KmWideText.h"
#include "YcDbHostApplicationServices.h"
#include "YcRxClass.h"
#include "YcRxDynLoadModuleProxy.h"
#include "YcRxModuleFunctions.h"
#include "core/KmRxContext.h"

namespace {

std::wstring demangled(const char* mangled) {
  int status = -1;
  char* name = abi::__cxa_demangle(mangled, nullptr, nullptr, &status);
  std::wstring wide = kmFromUtf8(status == 0 && name ? name : mangled);
  std::free(name);
  return wide;
}

void display(const std::wstring& text) {
  if (YcDbHostApplicationServices* services = ycdbHostApplicationServices())
    services->displayString(text.c_str(), static_cast<int>(text.size()));
}

std::wstring formatted(int id, const wchar_t* first, const wchar_t* second) {
  wchar_t format[kKmTextBuffer];
  KmRxGetResString(id, format, kKmTextBuffer);
  wchar_t text[kKmTextBuffer];
  if (kmSwprintf(text, kKmTextBuffer, format, first ? first : L"", second ? second : L"") < 0)
    text[kKmTextBuffer - 1] = 0;
  return text;
}

}  // namespace

void kmrxShowMessage(int id, const wchar_t* arg, const wchar_t* detail) {
  if (!ycdbHostApplicationServices()) return;
  std::wstring shown = formatted(id, arg, nullptr);
  if (detail && *detail) {
    // The detail closes the sentence: "... the module "x": it is a directory."
    const bool period = !shown.empty() && shown.back() == L'.';
    if (period) shown.pop_back();
    shown += std::wstring(L": ") + detail + (period ? L"." : L"");
  }
  display(shown);
}

void kmrxShowMessage2(int id, const wchar_t* first, const wchar_t* second) {
  if (ycdbHostApplicationServices()) display(formatted(id, first, second));
}

void kmrxLogLine(const wchar_t* format, const wchar_t* fileName) {
  wchar_t text[kKmTextBuffer];
  if (kmSwprintf(text, kKmTextBuffer, format, fileName ? fileName : L"") < 0) text[kKmTextBuffer - 1] = 0;
  kmrxLog(text);
}

void kmrxLog(const std::wstring& line) {
  YcadHostApplication* app = kmrxHostApp();
  if (YcadHostLog* log = app ? app->logObject() : nullptr) log->log(line.c_str(), 0, 0, 0);
}

std::wstring kmrxTypeName(const YcRxObject* object) {
  if (!object) return L"(null)";
  return demangled(typeid(*object).name());
}

std::wstring kmrxExceptionText(const std::exception& e) {
  const char* what = e.what();
  return demangled(typeid(e).name()) + L": " + kmFromUtf8(what ? what : "");
}

std::wstring kmrxModuleName(const YcRxDynLoadModuleProxy* module) {
  return module && module->fileName() ? kmrxModuleName(module->fileName()) : L"the runtime";
}

std::wstring kmrxModuleName(const wchar_t* fileName) {
  wchar_t name[kKmTextBuffer];
  if (!fileName) return L"";
  return KmPathMaker::getFileNameWithExt(fileName, name, kKmTextBuffer) ? name : fileName;
}
