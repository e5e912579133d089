// Rows at scale: registering classes (and linking them) while the class
// dictionary holds about 1,000 or 12,000 classes, and looking a service up
// among 1,024. Their peers: the same work on 1,000 classes again (growth),
// GLib's static types, and an unordered map over the same names.
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "BenchSupport.h"

namespace {

// One iteration registers and links 1,000 classes; they are retired untimed.
void BM_Register(benchmark::State& state, const wchar_t* stem) {
  const std::vector<std::wstring> mine = benchNames(stem, 1000);
  std::vector<YcRxClass*> made(mine.size());
  for (auto _ : state) {
    for (std::size_t i = 0; i < mine.size(); ++i) made[i] = newYcRxClass(mine[i].c_str(), L"AcRxObject");
    ycrxBuildClassHierarchy();
    state.PauseTiming();
    for (YcRxClass* cls : made) deleteYcRxClass(cls);
    YcRxClassImp::destroyDoomedRxClasses(true);
    state.ResumeTiming();
  }
  state.counters["classes"] = static_cast<double>(ycrxInternalGetClassDic()->numEntries());
}

constexpr int kServices = 1024;
std::vector<std::wstring> gServiceNames;
std::vector<const wchar_t*> gServiceProbes;

void ensureServices() {
  if (!gServiceNames.empty()) return;
  gServiceNames = benchNames(L"BenchService", kServices);
  auto* services = YcRxDictionary::cast(ycrxSysRegistry()->at(L"ServiceDictionary"));
  for (const std::wstring& name : gServiceNames) services->atPut(name.c_str(), new YcRxService());
  std::mt19937 random(11);
  for (int i = 0; i < 1024; ++i) gServiceProbes.push_back(gServiceNames[random() % kServices].c_str());
}

void BM_ServiceAt(benchmark::State& state) {
  ensureServices();
  YcRxDictionary* services = YcRxDictionary::cast(ycrxSysRegistry()->at(L"ServiceDictionary"));
  unsigned i = 0;
  for (auto _ : state) {
    YcRxObject* found = services->at(gServiceProbes[i++ & 1023]);
    benchmark::DoNotOptimize(found);
  }
}

void BM_ServiceUnorderedMap(benchmark::State& state) {
  ensureServices();
  std::unordered_map<std::wstring, void*> map;
  for (const std::wstring& name : gServiceNames) map.emplace(name, &map);
  std::vector<std::wstring> probes(gServiceProbes.begin(), gServiceProbes.end());
  unsigned i = 0;
  for (auto _ : state) {
    auto found = map.find(probes[i++ & 1023]);
    benchmark::DoNotOptimize(found);
  }
}

}  // namespace

void registerScaleBenchmarks() {
  benchmark::RegisterBenchmark("register/1000_classes/KmRx_newYcRxClass", BM_Register, L"BenchRegA");
  benchmark::RegisterBenchmark("service/1024_services/KmRx_serviceDic_at", BM_ServiceAt);
  benchmark::RegisterBenchmark("service/1024_services/std_unordered_map", BM_ServiceUnorderedMap);
}

void registerLateScaleBenchmarks() {
  benchmark::RegisterBenchmark("register/1000_classes_at_12k/KmRx_newYcRxClass", BM_Register, L"BenchRegB")
      ->Setup([](const benchmark::State&) { benchEnsureClassTrees(); });
}
