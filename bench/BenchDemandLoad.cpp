// The demand-load registry asked which applications provide a command, with
// 1,000 applications of 50 commands each registered; its peer is an
// unordered map over the same 50,000 names (case folded, as the registry
// compares them).
#include <cwctype>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "BenchSupport.h"

namespace {

constexpr int kApps = 1000, kCommands = 50, kProbes = 1024;
std::vector<std::wstring> gCommandNames;
std::vector<std::wstring> gProbes;

void ensureRegistry() {
  if (!gCommandNames.empty()) return;
  initDemandLoadYrxList();
  wchar_t name[40];
  for (int app = 0; app < kApps; ++app) {
    std::swprintf(name, 40, L"BenchApp%04d", app);
    auto* info = new YcadRegisterYrxInfo(name, (std::wstring(name) + L".yrx").c_str(), L" ",
                                         YcadApp::kOnCommandInvocation, nullptr);
    auto* group = new YcadYrxRegCmdGroup((std::wstring(name) + L"_GROUP").c_str());
    for (int command = 0; command < kCommands; ++command) {
      std::swprintf(name, 40, L"BENCHCMD%04d_%02d", app, command);
      std::wstring local(name);
      for (wchar_t& c : local) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
      group->insertCommand(new YcadYrxRegCommand(name, local.c_str()));
      gCommandNames.push_back(local);
    }
    info->insertGroup(group);
    g_pRegYrxList->insertYrxInfo(info);
  }
  std::mt19937 random(7);
  for (int i = 0; i < kProbes; ++i) gProbes.push_back(gCommandNames[random() % gCommandNames.size()]);
  for (std::wstring& probe : gProbes)  // as typed: upper case
    for (wchar_t& c : probe) c = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
}

void BM_DemandLoadHit(benchmark::State& state) {
  ensureRegistry();
  YcArray<YcadAppInfo*> out(0, 8);
  for (const std::wstring& probe : gProbes)
    if (!getRegisterYrxAppInfoList(probe.c_str(), out, true) || out.length() != 1)
      state.SkipWithError("a registered command was not found");
  unsigned i = 0;
  for (auto _ : state) {
    bool found = getRegisterYrxAppInfoList(gProbes[i++ & (kProbes - 1)].c_str(), out, true);
    benchmark::DoNotOptimize(found);
  }
}

// The probe folded as the registry folds it (ASCII at once, the rest by
// towlower), then found: the same work.
void BM_UnorderedMapHit(benchmark::State& state) {
  ensureRegistry();
  std::unordered_map<std::wstring, const void*> map;
  for (const std::wstring& name : gCommandNames) map.emplace(name, &map);
  std::wstring folded;
  unsigned i = 0;
  for (auto _ : state) {
    const std::wstring& probe = gProbes[i++ & (kProbes - 1)];
    folded.assign(probe);
    for (wchar_t& c : folded)
      c = c < 128 ? (c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c)
                  : static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
    auto found = map.find(folded);
    benchmark::DoNotOptimize(found);
  }
}

}  // namespace

void registerDemandLoadBenchmarks() {
  benchmark::RegisterBenchmark("demandLoad/1000x50_hit/KmRx_getRegisterYrxAppInfoList", BM_DemandLoadHit);
  benchmark::RegisterBenchmark("demandLoad/1000x50_hit/std_unordered_map", BM_UnorderedMapHit);
}
