#include "HostOptions.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "HostText.h"
#include "KmPathMaker.h"

#ifndef YRXHOST_EXAMPLES_DIR
#define YRXHOST_EXAMPLES_DIR "examples"
#endif
#ifndef YRXHOST_MODULE_DIR
#define YRXHOST_MODULE_DIR "."
#endif

void printHostUsage() {
  std::fputs(
      "Usage: yrxhost [options]\n"
      "A sample host for KmRx extension modules: loads start-up applications and\n"
      "listed modules, demand-loads applications when their commands are used,\n"
      "and runs commands from the prompt, a script or the command line.\n"
      "\n"
      "  --demo               run the scripted demo session (examples/demo.yrxs)\n"
      "  --script FILE        run the commands in FILE, then exit\n"
      "  -c, --command CMD    run CMD (may be repeated), then exit\n"
      "  --module-path DIR    look for modules in DIR too (may be repeated)\n"
      "  --store-dir DIR      registry and configuration stores: HKCU.reg, HKLM.reg,\n"
      "                       config.reg (default: $KMRX_STORE_DIR, else\n"
      "                       <examples>/stores)\n"
      "  --list FILE          the listed-modules file (default <examples>/yrx.lst)\n"
      "  --examples DIR       where the example files are\n"
      "  --log FILE           the log file (default: yrxhost.log in the temp directory)\n"
      "  --echo               echo each command before it runs\n"
      "  --multi-document     refuse modules that are not MDI aware\n"
      "  --no-version-notice  do not tell about modules built for another API version\n"
      "  -h, --help           this text\n"
      "\n"
      "With neither --script nor -c, commands are read from standard input.\n"
      "Type 'help' at the prompt for the commands.\n",
      stdout);
}

namespace {

bool is(const char* arg, const char* name) { return name && !std::strcmp(arg, name); }

// Options that stand alone; false when arg is none of them. --demo waits for
// applyDefaults, so that an --examples after it still moves its script.
bool applyFlag(const char* arg, HostOptions& options, bool& demo) {
  if (is(arg, "-h") || is(arg, "--help"))
    options.help = true;
  else if (is(arg, "--demo"))
    demo = true;
  else if (is(arg, "--echo"))
    options.echo = true;
  else if (is(arg, "--multi-document"))
    options.multiDocument = true;
  else if (is(arg, "--no-version-notice"))
    options.versionNotices = false;
  else
    return false;
  return true;
}

// An option that takes the next argument: it sets one text, or adds to a list.
struct ValueOption {
  const char* shortName;  // or null
  const char* longName;
  std::wstring HostOptions::*text;
  std::vector<std::wstring> HostOptions::*list;
};

const ValueOption kValueOptions[] = {
    {nullptr, "--script", &HostOptions::scriptFile, nullptr},
    {"-c", "--command", nullptr, &HostOptions::commands},
    {nullptr, "--module-path", nullptr, &HostOptions::modulePath},
    {nullptr, "--store-dir", &HostOptions::storeDir, nullptr},
    {nullptr, "--list", &HostOptions::listFile, nullptr},
    {nullptr, "--examples", &HostOptions::examplesDir, nullptr},
    {nullptr, "--log", &HostOptions::logFile, nullptr},
};

const ValueOption* findValueOption(const char* arg) {
  for (const ValueOption& option : kValueOptions)
    if (is(arg, option.shortName) || is(arg, option.longName)) return &option;
  return nullptr;
}

// Reads argv[i] (and its value, moving i past it); false with a message when it is wrong.
bool parseArgument(int argc, char** argv, int& i, HostOptions& options, bool& demo) {
  const char* arg = argv[i];
  if (applyFlag(arg, options, demo)) return true;
  const ValueOption* option = findValueOption(arg);
  if (!option) {
    std::fprintf(stderr, "yrxhost: unknown option %s (try --help)\n", arg);
    return false;
  }
  if (i + 1 >= argc) {
    std::fprintf(stderr, "yrxhost: %s needs a value\n", arg);
    return false;
  }
  std::wstring value = widen(argv[++i]);
  if (option->text)
    options.*option->text = value;
  else
    (options.*option->list).push_back(value);
  return true;
}

// What the user left out, from the environment or next to the examples.
void applyDefaults(HostOptions& options, bool demo) {
  if (demo) {
    options.scriptFile = options.examplesDir + L"/demo.yrxs";
    options.echo = true;
  }
  if (options.storeDir.empty()) {
    const char* env = std::getenv("KMRX_STORE_DIR");
    options.storeDir = env && *env ? widen(env) : options.examplesDir + L"/stores";
  }
  if (options.listFile.empty()) options.listFile = options.examplesDir + L"/yrx.lst";
  options.modulePath.push_back(widen(YRXHOST_MODULE_DIR));
  if (options.logFile.empty()) {
    const char* tmp = std::getenv("TMPDIR");
    options.logFile = widen(tmp && *tmp ? tmp : "/tmp") + L"/yrxhost.log";
  }
}

void makeAbsolute(std::wstring& path) {
  wchar_t full[kKmTextBuffer];
  if (!path.empty() && KmPathMaker::getFullFileName(path.c_str(), full, kKmTextBuffer)) path = full;
}

// The host changes directory to read the list file, so every path is made
// absolute now, while relative ones still mean what the user meant.
void makePathsAbsolute(HostOptions& options) {
  for (std::wstring* path : {&options.examplesDir, &options.storeDir, &options.listFile,
                             &options.logFile, &options.scriptFile})
    makeAbsolute(*path);
  std::vector<std::wstring> dirs;
  for (std::wstring dir : options.modulePath) {
    makeAbsolute(dir);
    if (std::find(dirs.begin(), dirs.end(), dir) == dirs.end()) dirs.push_back(dir);
  }
  options.modulePath = dirs;
}

}  // namespace

bool parseHostOptions(int argc, char** argv, HostOptions& options) {
  options.examplesDir = widen(YRXHOST_EXAMPLES_DIR);
  bool demo = false;
  for (int i = 1; i < argc; ++i)
    if (!parseArgument(argc, argv, i, options, demo)) return false;
  applyDefaults(options, demo);
  makePathsAbsolute(options);
  return true;
}
