#include "HostShell.h"

#include <cwchar>

#include "ClassTreePrinter.h"
#include "CommandService.h"
#include "HostServices.h"
#include "HostText.h"
#include "KmRx.h"
#include "LineReader.h"

namespace {

void print(const std::wstring& line) { HostServices::print(line); }

YcRxDynamicLinkerImp* linker() {
  return YcRxDynamicLinkerImp::cast(ycrxSysRegistry()->at(L"DynamicLinker"));
}

std::wstring baseName(const wchar_t* path) {
  if (!path) return L"?";
  wchar_t name[kKmTextBuffer];
  KmPathMaker::getFileNameWithExt(path, name, kKmTextBuffer);
  return name;
}

std::wstring reasons(int r) {
  std::wstring out;
  const std::pair<int, const wchar_t*> names[] = {{YcadApp::kOnStartup, L"start-up"},
                                                  {YcadApp::kOnAppLoader, L"app loader"},
                                                  {YcadApp::kOnLoadRequest, L"load request"},
                                                  {YcadApp::kLoadDisabled, L"disabled"},
                                                  {YcadApp::kOnCommandInvocation, L"on command"}};
  // A module loaded by name, not through an application, keeps the record's initial 16.
  if (r == YcadApp::kLoadDisabled) return L"by name";
  for (const auto& n : names)
    if (r & n.first) out += (out.empty() ? L"" : L", ") + std::wstring(n.second);
  return out.empty() ? L"none" : out;
}

struct Builtin {
  const wchar_t* name;
  const wchar_t* usage;
  const wchar_t* text;
};

const Builtin kBuiltins[] = {
    {L"help", L"help [command]", L"Lists the commands, or explains one."},
    {L"load", L"load <module>", L"Loads a module file (found on the module path) and initialises it."},
    {L"unload", L"unload <module>",
     L"Unloads a module. Refused while other modules depend on it (its reference count is above 1)."},
    {L"loadapp", L"loadapp <application>", L"Loads a registered application by its name."},
    {L"unloadapp", L"unloadapp <application>", L"Unloads the module of a loaded application."},
    {L"modules", L"modules", L"Lists loaded modules with reference count, lock and MDI state."},
    {L"services", L"services", L"Lists registered services and the module that published each."},
    {L"apps", L"apps",
     L"Lists the registered applications with their commands; '*' marks those loaded."},
    {L"classes", L"classes [class]",
     L"Shows the class tree (or the tree below a class) with the module that registered each class."},
    {L"log", L"log", L"Shows the host's log of this session."},
    {L"quit", L"quit", L"Unloads every module and leaves (so does the end of input)."},
};

}  // namespace

bool HostShell::run(const std::wstring& line) {
  std::wstring word, rest;
  splitFirstWord(line, word, rest);
  if (word.empty() || word[0] == L'#') return true;
  const std::wstring cmd = upper(word);
  if (cmd == L"QUIT" || cmd == L"EXIT") return false;
  if (cmd == L"HELP") help(rest);
  else if (cmd == L"LOAD") load(rest);
  else if (cmd == L"UNLOAD") unload(rest);
  else if (cmd == L"LOADAPP") loadApp(rest);
  else if (cmd == L"UNLOADAPP") unloadApp(rest);
  else if (cmd == L"MODULES") listModules();
  else if (cmd == L"SERVICES") listServices();
  else if (cmd == L"APPS") listApps();
  else if (cmd == L"CLASSES") listClasses(rest);
  else if (cmd == L"LOG") showLog();
  else runModuleCommand(word, rest);
  return true;
}

void HostShell::runStream(std::FILE* in, bool interactive, bool echo) {
  LineReader reader(in);
  std::string bytes;
  for (;;) {
    if (interactive) {
      std::fputs("yrx> ", stdout);
      std::fflush(stdout);
    }
    std::size_t length = 0;
    const LineReader::Result got = reader.next(bytes, length);
    if (got == LineReader::Result::kEnd) {
      if (interactive) std::fputc('\n', stdout);
      return;
    }
    if (got == LineReader::Result::kTooLong) {
      print(L"Line " + std::to_wstring(reader.lineNumber()) + L" is " + std::to_wstring(length) +
            L" bytes long, more than the " + std::to_wstring(LineReader::kMaxLine) +
            L" a command line may have; none of it was run.");
      continue;
    }
    const std::wstring line = trim(widen(bytes.c_str()));
    if (echo && !line.empty()) print(line[0] == L'#' ? line : L"yrx> " + line);
    if (!run(line)) return;
  }
}

void HostShell::help(const std::wstring& topic) {
  if (!topic.empty()) {
    for (const Builtin& b : kBuiltins)
      if (equalNoCase(topic, b.name)) {
        print(std::wstring(b.usage) + L"\n  " + b.text);
        return;
      }
    if (const auto* c = mCommands.find(topic)) {
      print(c->group + L"." + c->globalName + L" (" + c->localName + L"): a command of " +
            baseName(c->moduleFile.c_str()));
      return;
    }
    print(L"No command named " + topic + L". Type 'help' for the list.");
    return;
  }
  print(L"Built-in commands:");
  for (const Builtin& b : kBuiltins) {
    std::wstring usage = b.usage;
    usage.resize(std::max<size_t>(usage.size(), 26), L' ');
    print(L"  " + usage + b.text);
  }
  if (!mCommands.commands().empty()) {
    print(L"Commands of loaded modules:");
    for (const auto& c : mCommands.commands())
      print(L"  " + c.group + L"." + c.globalName + L" (" + c.localName + L")   from " +
            baseName(c.moduleFile.c_str()));
  }
  print(L"Any other word is looked up as a command of a registered application (see 'apps'),");
  print(L"which is loaded on demand. GROUP.COMMAND picks the group.");
}

void HostShell::load(const std::wstring& name) {
  if (name.empty()) return print(L"usage: load <module>");
  wchar_t found[kKmTextBuffer];
  if (mServices.findFile(found, kKmTextBuffer, name.c_str(), nullptr, YcDbHostApplicationServices::kModuleFile) !=
      Ycad::eOk) {
    std::wstring dirs;
    for (const std::wstring& dir : mServices.modulePath()) dirs += L" " + dir;
    return print(L"The module " + name + L" was not found here or on the module path:" + dirs);
  }
  // A second load would make a second record for the same module.
  if (ycrxAppIsLoaded(found)) {
    wchar_t format[kKmTextBuffer], text[kKmTextBuffer];
    KmRxGetResString(KmRxMsg::kAlreadyLoaded, format, kKmTextBuffer);
    kmSwprintf(text, kKmTextBuffer, format, found);
    return print(text);
  }
  if (ycrxLoadModule(name.c_str(), true, true)) return;
  print(L"The module " + name + L" was not loaded.");
}

// Releases the host's own load of a module: a single load leaves the count at
// 1 and the first unload call only lowers it, so a count of 1 takes two calls.
bool HostShell::releaseModule(const std::wstring& fileName) {
  for (int i = 0; i < 2 && ycrxAppIsLoaded(fileName.c_str()); ++i)
    if (!ycrxUnloadModule(fileName.c_str(), false) && i == 0) break;
  return !ycrxAppIsLoaded(fileName.c_str());
}

void HostShell::unload(const std::wstring& name) {
  if (name.empty()) return print(L"usage: unload <module>");
  wchar_t found[kKmTextBuffer];
  std::wstring fileName = name;
  if (mServices.findFile(found, kKmTextBuffer, name.c_str(), nullptr, YcDbHostApplicationServices::kModuleFile) ==
      Ycad::eOk)
    fileName = found;
  YcRxDynLoadModuleProxy* record = linker()->findRxModuleProxyByModuleName(fileName.c_str(), false);
  if (!record) return print(L"The module " + name + L" is not loaded.");
  if (record->moduleRefCount() > 1)
    return print(L"The module " + name + L" is in use by " + std::to_wstring(record->moduleRefCount() - 1) +
                 L" dependent module(s); unload those first.");
  if (releaseModule(fileName))
    print(L"Unloaded " + name + L".");
  else
    print(L"The module " + name + L" is still loaded (it is locked, busy or refused).");
}

void HostShell::loadApp(const std::wstring& name) {
  if (name.empty()) return print(L"usage: loadapp <application>");
  if (!ycrxLoadApp(name.c_str(), true))
    print(L"The application " + name + L" was not loaded (is it registered, and may it be loaded on request?).");
}

void HostShell::unloadApp(const std::wstring& name) {
  if (name.empty()) return print(L"usage: unloadapp <application>");
  YcRxDynLoadModuleProxy* record = linker()->findRxModuleProxyByAppName(name.c_str());
  if (!record) return print(L"The application " + name + L" is not loaded.");
  unload(record->fileName());
}

void HostShell::listModules() {
  YcArray<const YcRxDynLoadModuleProxy*> modules(0, 8);
  linker()->getLoadedModules(modules);
  if (modules.isEmpty()) return print(L"No modules are loaded.");
  print(L"module            refs  locked  MDI  application   loaded for");
  for (int i = 0; i < modules.length(); ++i) {
    const YcRxDynLoadModuleProxy* m = modules[i];
    wchar_t row[kKmTextBuffer];
    std::swprintf(row, kKmTextBuffer, L"%-17ls %4d  %-6ls  %-3ls  %-13ls %ls", baseName(m->fileName()).c_str(),
                  m->moduleRefCount(), m->isLocked() ? L"yes" : L"no", m->isMDIAware() ? L"yes" : L"no",
                  m->appName() ? m->appName() : L"-", reasons(m->loadReason()).c_str());
    print(row);
  }
}

void HostShell::listServices() {
  auto* services = static_cast<YcRxDictionary*>(ycrxSysRegistry()->at(L"ServiceDictionary"));
  YcRxDictionaryIterator* it = services->newIterator(YcRx::kDictIdOrder);
  print(L"service                    class                                 module");
  for (; !it->done(); it->next()) {
    YcRxService* service = YcRxService::cast(it->object());
    const auto* module = service ? YcRxDynLoadModuleProxy::cast(service->getSysInfo()) : nullptr;
    wchar_t row[kKmTextBuffer];
    std::swprintf(row, kKmTextBuffer, L"%-26ls %-37ls %ls", it->key(),
                  it->object() && it->object()->isA() ? it->object()->isA()->name() : L"?",
                  module ? baseName(module->fileName()).c_str() : L"-");
    print(row);
  }
  delete it;
}

void HostShell::listApps() {
  if (!g_pRegYrxList) return print(L"The demand-load registry is not built.");
  YcRxIterator* apps = g_pRegYrxList->newIterator();
  if (apps->done()) print(L"No applications are registered (see the store files).");
  for (; !apps->done(); apps->next()) {
    auto* info = static_cast<YcadRegisterYrxInfo*>(apps->object());
    const bool loaded = info->moduleName() && ycrxAppIsLoaded(info->moduleName());
    print(std::wstring(loaded ? L"* " : L"  ") + (info->appName() ? info->appName() : L"?") + L"  " +
          baseName(info->moduleName()) + L"  [" + reasons(info->loadReason()) + L"]" +
          (info->appDesc() && *info->appDesc() ? std::wstring(L"  ") + info->appDesc() : L""));
    YcRxIterator* groups = info->newIterator();
    for (; !groups->done(); groups->next()) {
      auto* group = static_cast<YcadYrxRegCmdGroup*>(groups->object());
      std::wstring line = L"      " + std::wstring(group->name() ? group->name() : L"?") + L":";
      YcRxIterator* commands = group->newIterator();
      for (; !commands->done(); commands->next()) {
        auto* command = static_cast<YcadYrxRegCommand*>(commands->object());
        line += L" " + std::wstring(command->globalName() ? command->globalName() : L"?");
      }
      delete commands;
      print(line);
    }
    delete groups;
  }
  delete apps;
}

void HostShell::listClasses(const std::wstring& root) {
  YcRxClass* top = YcRxObject::desc();
  if (!root.empty()) {
    top = static_cast<YcRxClass*>(ycrxInternalGetClassDic()->at(root.c_str()));
    if (!top) return print(L"No class is registered as " + root + L".");
  }
  for (const std::wstring& line : classTreeLines(top)) print(line);
}

void HostShell::showLog() {
  if (mServices.logLines().empty()) print(L"The log is empty.");
  if (mServices.logLinesDropped() != 0)
    print(L"  (" + std::to_wstring(mServices.logLinesDropped()) + L" earlier lines are only in the log file)");
  for (const std::wstring& line : mServices.logLines()) print(L"  " + line);
  print(L"(also in " + mServices.logFileName() + L")");
}

void HostShell::runModuleCommand(const std::wstring& name, const std::wstring& args) {
  if (const auto* command = mCommands.find(name)) {
    command->func(args.c_str(), &mCommands);
    return;
  }
  // Not defined by a loaded module: ask the demand-load registry who provides it.
  YcArray<YcadAppInfo*> apps(0, 8);
  getRegisterYrxAppInfoList(name.c_str(), apps, false);
  if (apps.isEmpty())
    return print(L"Unknown command: " + name + L". Type 'help' for the commands, 'apps' for what can be loaded.");
  for (int i = 0; i < apps.length() && !mCommands.find(name); ++i) {
    YcadAppInfo* app = apps[i];
    print(L"Loading the application " + std::wstring(app->appName() ? app->appName() : L"?") +
          L" for the command " + name + L"...");
    const YcadAppInfo::CmdStatus status = app->runAppLoader();
    if (status == YcadAppInfo::kModuleNotFound)
      print(L"  its module " + std::wstring(app->moduleName() ? app->moduleName() : L"?") +
            L" was not found on the module path.");
    else if (status != YcadAppInfo::kModuleLoaded)
      print(L"  it could not be loaded.");
  }
  if (const auto* command = mCommands.find(name))
    command->func(args.c_str(), &mCommands);
  else
    print(L"No loaded module defines the command " + name + L".");
}

void HostShell::unloadAll() {
  // Modules that others depend on go last: each round unloads those that are free.
  for (int round = 0; round < 16; ++round) {
    YcArray<const YcRxDynLoadModuleProxy*> modules(0, 8);
    linker()->getLoadedModules(modules);
    if (modules.isEmpty()) return;
    bool progress = false;
    for (int i = 0; i < modules.length(); ++i) {
      const std::wstring fileName = modules[i]->fileName() ? modules[i]->fileName() : L"";
      if (modules[i]->moduleRefCount() > 1 || modules[i]->isLocked()) continue;
      progress |= releaseModule(fileName);
      break;  // the loaded set changed; list it again
    }
    if (!progress) {
      print(L"Some modules could not be unloaded (locked, or still depended on).");
      return;
    }
  }
}
