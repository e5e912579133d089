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

bool parseHostOptions(int argc, char** argv, HostOptions& options) {
  options.examplesDir = widen(YRXHOST_EXAMPLES_DIR);
  bool demo = false;
  for (int i = 1; i < argc; ++i) {
    const char* arg = argv[i];
    auto value = [&](std::wstring& out) {
      if (i + 1 >= argc) {
        std::fprintf(stderr, "yrxhost: %s needs a value\n", arg);
        return false;
      }
      out = widen(argv[++i]);
      return true;
    };
    std::wstring v;
    if (!std::strcmp(arg, "-h") || !std::strcmp(arg, "--help")) {
      options.help = true;
    } else if (!std::strcmp(arg, "--demo")) {
      demo = true;
    } else if (!std::strcmp(arg, "--script")) {
      if (!value(options.scriptFile)) return false;
    } else if (!std::strcmp(arg, "-c") || !std::strcmp(arg, "--command")) {
      if (!value(v)) return false;
      options.commands.push_back(v);
    } else if (!std::strcmp(arg, "--module-path")) {
      if (!value(v)) return false;
      options.modulePath.push_back(v);
    } else if (!std::strcmp(arg, "--store-dir")) {
      if (!value(options.storeDir)) return false;
    } else if (!std::strcmp(arg, "--list")) {
      if (!value(options.listFile)) return false;
    } else if (!std::strcmp(arg, "--examples")) {
      if (!value(options.examplesDir)) return false;
    } else if (!std::strcmp(arg, "--log")) {
      if (!value(options.logFile)) return false;
    } else if (!std::strcmp(arg, "--echo")) {
      options.echo = true;
    } else if (!std::strcmp(arg, "--multi-document")) {
      options.multiDocument = true;
    } else if (!std::strcmp(arg, "--no-version-notice")) {
      options.versionNotices = false;
    } else {
      std::fprintf(stderr, "yrxhost: unknown option %s (try --help)\n", arg);
      return false;
    }
  }
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
  // The host changes directory to read the list file, so every path is made
  // absolute now, while relative ones still mean what the user meant.
  auto absolute = [](std::wstring& path) {
    wchar_t full[1024];
    if (!path.empty() && KmPathMaker::getFullFileName(path.c_str(), full, 1024)) path = full;
  };
  for (std::wstring* path : {&options.examplesDir, &options.storeDir, &options.listFile,
                             &options.logFile, &options.scriptFile})
    absolute(*path);
  std::vector<std::wstring> dirs;
  for (std::wstring dir : options.modulePath) {
    absolute(dir);
    if (std::find(dirs.begin(), dirs.end(), dir) == dirs.end()) dirs.push_back(dir);
  }
  options.modulePath = dirs;
  return true;
}
