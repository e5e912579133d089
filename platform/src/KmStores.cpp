// The open stores: reading their files, reporting what is wrong in them, and
// the environment.
#include "KmStores.h"

#include <memory>
#include <string>

#include "KmOsCalls.h"
#include "KmStoreFile.h"
#include "KmStoreState.h"
#include "KmUtf8.h"
#include "TesselConfig.h"

namespace {

constexpr std::size_t kMaxFileBytes = 8u << 20;
constexpr std::size_t kReadChunk = 64u << 10;
// A file of garbage should not bury the terminal.
constexpr int kMaxReportedProblems = 20;
constexpr int kStandardError = 2;

void writeToStandardError(const wchar_t* message, void*) {
  std::string line = kmToUtf8(message);
  line += '\n';
  // Straight to the descriptor: the stream may be oriented either way.
  const char* p = line.data();
  std::size_t left = line.size();
  while (left > 0) {
    const long n = kmOsWrite(kStandardError, p, left);
    if (n <= 0) break;
    p += n;
    left -= static_cast<std::size_t>(n);
  }
}

struct State {
  std::unique_ptr<KmStoreNode> user = std::make_unique<KmStoreNode>(L"", true);
  std::unique_ptr<KmStoreNode> machine = std::make_unique<KmStoreNode>(L"", true);
  std::unique_ptr<TesselConfig> config;
  bool settled = false;  // something was opened or closed, or the environment was read
  KmStoreDiagnosticSink sink = &writeToStandardError;
  void* sinkContext = nullptr;
};

State& state() {
  static State s;
  return s;
}

void settle() {
  State& s = state();
  if (s.settled) return;
  s.settled = true;
  kmStoreOpenFromEnvironment();
}

class FileReport {
public:
  std::wstring fileName;
  int problems = 0;

  void say(int line, const std::wstring& text) {
    if (++problems > kMaxReportedProblems) return;
    send(line, text);
  }
  void finish() {
    if (problems > kMaxReportedProblems)
      send(0, std::to_wstring(problems - kMaxReportedProblems) + L" more problems not shown");
  }

private:
  void send(int line, const std::wstring& text) {
    std::wstring message = fileName;
    if (line > 0) message += L":" + std::to_wstring(line);
    message += L": " + text;
    State& s = state();
    s.sink(message.c_str(), s.sinkContext);
  }
};

void reportProblem(void* context, int line, const std::wstring& problem) {
  static_cast<FileReport*>(context)->say(line, problem);
}

// Reads path into data. False when it is missing (quietly) or cannot be read.
bool readFile(const std::wstring& path, std::string& data, FileReport& report) {
  const std::string name = kmPathToBytes(path.c_str());
  if (name.empty() || kmOsIsRegularFile(name.c_str()) != 1) return false;
  void* file = kmOsOpenFile(name.c_str(), "rb");
  if (!file) {
    report.say(0, L"cannot be opened");
    return false;
  }
  data.clear();
  std::string chunk(kReadChunk, '\0');
  for (;;) {
    const long long got = kmOsReadFile(&chunk[0], chunk.size(), file);
    if (got < 0) {
      // Half a file would pass for a whole one with keys missing.
      kmOsCloseFile(file);
      report.say(0, L"cannot be read");
      return false;
    }
    if (got == 0) break;
    data.append(chunk, 0, static_cast<std::size_t>(got));
    if (data.size() > kMaxFileBytes) {
      data.resize(kMaxFileBytes);
      // Cut at a line end so that no half line is taken for a whole one.
      const std::size_t lastLineEnd = data.rfind('\n');
      data.resize(lastLineEnd == std::string::npos ? 0 : lastLineEnd + 1);
      report.say(0, L"larger than " + std::to_wstring(kMaxFileBytes >> 20) +
                        L" MiB; only its first lines are read");
      break;
    }
  }
  kmOsCloseFile(file);
  return true;
}

bool loadInto(const wchar_t* path, KmStoreFlavour flavour, KmStoreNode& root) {
  if (!path || !*path) return false;
  FileReport report;
  report.fileName = path;
  std::string data;
  if (!readFile(path, data, report)) {
    report.finish();
    return false;
  }
  kmParseStoreText(data.data(), data.size(), flavour, root, &reportProblem, &report);
  report.finish();
  return true;
}

}  // namespace

bool kmStoreOpenRegistryFile(HKEY root, const wchar_t* path) {
  State& s = state();
  s.settled = true;
  const bool user = root == HKEY_CURRENT_USER;
  if (!user && root != HKEY_LOCAL_MACHINE) return false;
  auto tree = std::make_unique<KmStoreNode>(L"", true);
  const bool read =
      loadInto(path, user ? KmStoreFlavour::kCurrentUser : KmStoreFlavour::kLocalMachine, *tree);
  (user ? s.user : s.machine) = std::move(tree);
  return read;
}

bool kmStoreOpenConfigFile(const wchar_t* path) {
  State& s = state();
  s.settled = true;
  s.config.reset();
  auto tree = std::make_unique<KmStoreNode>(L"", false);
  if (!loadInto(path, KmStoreFlavour::kConfiguration, *tree)) return false;
  s.config.reset(kmStoreMakeConfig(tree.release()));
  return true;
}

bool kmStoreOpenDirectory(const wchar_t* directory) {
  state().settled = true;
  if (!directory || !*directory) return false;
  const std::wstring dir = std::wstring(directory) + L"/";
  const bool user = kmStoreOpenRegistryFile(HKEY_CURRENT_USER, (dir + L"HKCU.reg").c_str());
  const bool machine = kmStoreOpenRegistryFile(HKEY_LOCAL_MACHINE, (dir + L"HKLM.reg").c_str());
  const bool config = kmStoreOpenConfigFile((dir + L"config.reg").c_str());
  return user || machine || config;
}

bool kmStoreOpenFromEnvironment() {
  state().settled = true;
  const char* dir = kmOsEnvironmentVariable("KMRX_STORE_DIR");
  if (!dir || !*dir) return false;
  return kmStoreOpenDirectory(kmPathFromBytes(dir).c_str());
}

void kmStoreCloseAll() {
  State& s = state();
  s.settled = true;
  s.user = std::make_unique<KmStoreNode>(L"", true);
  s.machine = std::make_unique<KmStoreNode>(L"", true);
  s.config.reset();
}

void kmStoreSetDiagnosticSink(KmStoreDiagnosticSink sink, void* context) {
  State& s = state();
  s.sink = sink ? sink : &writeToStandardError;
  s.sinkContext = sink ? context : nullptr;
}

const KmStoreNode* kmStoreRegistryRoot(HKEY root) {
  settle();
  if (root == HKEY_CURRENT_USER) return state().user.get();
  if (root == HKEY_LOCAL_MACHINE) return state().machine.get();
  return nullptr;
}

TesselConfig* ycadConfig() {
  settle();
  return state().config.get();
}
