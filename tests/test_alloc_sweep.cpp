// Exhausted memory at any point of a host session: every single allocation
// of start-up, the stores and the demand-load registry, start-up and listed
// modules, a demand load, an unload and teardown is made to fail in turn, each
// in a process of its own. Every run must end normally; under the sanitizers
// a leak or a touch of freed memory fails it too.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "StoreTestSupport.h"

extern char** environ;

namespace {

#ifdef KMRX_ALLOC_PROBE
const char* const kProbe = KMRX_ALLOC_PROBE;
#else
const char* const kProbe = nullptr;
#endif

pid_t spawnProbe(const std::string& storeDir, long failAt) {
  const std::string n = std::to_string(failAt);
  const char* argv[] = {kProbe, storeDir.c_str(), n.c_str(), nullptr};
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&quiet, 2, "/dev/null", O_WRONLY, 0);
  pid_t pid = -1;
  if (posix_spawn(&pid, kProbe, &quiet, nullptr, const_cast<char* const*>(argv), environ) != 0) pid = -1;
  posix_spawn_file_actions_destroy(&quiet);
  return pid;
}

long countAllocations(const std::string& storeDir) {
  const std::string command = std::string(kProbe) + " " + storeDir;
  std::FILE* out = popen(command.c_str(), "r");
  if (!out) return -1;
  long count = -1;
  if (std::fscanf(out, "%ld", &count) != 1) count = -1;
  return pclose(out) == 0 ? count : -1;
}

void writeFile(const std::filesystem::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

}  // namespace

TEST(AllocationSweep, EverySingleAllocationFailureOfAHostSessionEndsCleanly) {
  if (!kProbe) GTEST_SKIP() << "the probe program is not built";
  TempDir dir;
  writeFile(dir.path() / "config.reg",
            "[Applications\\Good]\n\"LOADCTRLS\"=dword:00000022\n\"LOADER\"=\"tm_good.yrx\"\n"
            "[Applications\\Good\\Groups]\n\"TM\"=\"\"\n"
            "[Applications\\Good\\Commands]\n\"TMCMD\"=\"tmcmd\"\n");
  writeFile(dir.path() / "HKCU.reg", "[HKEY_CURRENT_USER\\Software\\KmRx\\Probe\\Applications\\Good]\n");
  writeFile(dir.path() / "p.lst", "tm_extras.yrx\n; a comment\n");
  const std::string storeDir = dir.path().string();

  const long total = countAllocations(storeDir);
  ASSERT_GT(total, 100) << "the session should allocate its way through start-up, loads and teardown";

  // Two at a time: the machine has two cores.
  std::vector<long> failed;
  std::vector<std::pair<pid_t, long>> running;
  auto reap = [&] {
    int status = 0;
    const pid_t done = waitpid(-1, &status, 0);
    for (auto it = running.begin(); it != running.end(); ++it) {
      if (it->first != done) continue;
      if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) failed.push_back(it->second);
      running.erase(it);
      return;
    }
  };
  for (long n = 1; n <= total; ++n) {
    if (running.size() == 2) reap();
    const pid_t pid = spawnProbe(storeDir, n);
    ASSERT_GT(pid, 0) << "cannot start the probe";
    running.emplace_back(pid, n);
  }
  while (!running.empty()) reap();
  EXPECT_EQ(std::vector<long>{}, failed)
      << "these allocations, made to fail, crashed, leaked or ended the session badly; "
         "rerun the probe with KMRX_PROBE_TRACE=1 and the number to see where";
}
