// Rows at scale: registering classes (and linking them) and looking classes
// up while the class dictionary holds 1,000, 10,000 or 100,000 classes, and
// looking a service up among 1,024. Their peers: the same work on 1,000
// classes again (growth), GLib's static types, and an unordered map over the
// same names. Filler classes bring the dictionary to each size.
#include <map>
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

std::vector<std::wstring> gFillers;           // registered, in order
std::map<int, std::size_t> gFillersAtScale;   // how many were there at each size

void growClassesTo(int scale) {
  YcRxDictionary* classes = ycrxInternalGetClassDic();
  if (gFillers.size() < 200000) gFillers = benchNames(L"BenchFill", 200000);
  static std::size_t registered = 0;
  while (classes->numEntries() < static_cast<unsigned>(scale) && registered < gFillers.size())
    benchNewClass(gFillers[registered++], L"AcRxObject");
  ycrxBuildClassHierarchy();
  gFillersAtScale.emplace(scale, registered);
}

// 1,024 probes among the fillers there were at a size, the same for every peer.
std::vector<std::wstring> probesAt(int scale) {
  const std::size_t count = benchFillersAt(scale);
  std::vector<std::wstring> probes;
  std::mt19937 random(static_cast<unsigned>(scale));
  for (int i = 0; i < 1024 && count; ++i) probes.push_back(gFillers[random() % count]);
  return probes;
}

void BM_ClassLookupAt(benchmark::State& state, int scale) {
  growClassesTo(scale);
  const std::vector<std::wstring> probes = probesAt(scale);
  YcRxDictionary* classes = ycrxInternalGetClassDic();
  for (const std::wstring& probe : probes)
    if (!classes->at(probe.c_str())) state.SkipWithError("class not found");
  unsigned i = 0;
  for (auto _ : state) {
    YcRxObject* found = classes->at(probes[i++ & 1023].c_str());
    benchmark::DoNotOptimize(found);
  }
  state.counters["classes"] = static_cast<double>(classes->numEntries());
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

void registerScaleBenchmarksAt(int scale) {
  const std::string at = scale >= 100000 ? "100k" : "10k";
  benchmark::RegisterBenchmark(("classLookup/" + std::to_string(scale) + "_classes/KmRx_classDic_at").c_str(),
                               BM_ClassLookupAt, scale);
  benchmark::RegisterBenchmark(("register/1000_classes_at_" + at + "/KmRx_newYcRxClass").c_str(),
                               [scale](benchmark::State& state) {
                                 growClassesTo(scale);
                                 BM_Register(state, scale >= 100000 ? L"BenchRegC" : L"BenchRegB");
                               });
}

std::size_t benchFillersAt(int scale) {
  const auto found = gFillersAtScale.find(scale);
  return found == gFillersAtScale.end() ? 0 : found->second;
}

std::vector<std::string> benchFillerNames(int scale) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < benchFillersAt(scale); ++i)
    names.emplace_back(gFillers[i].begin(), gFillers[i].end());
  return names;
}

std::vector<std::string> benchProbesAt(int scale) {
  std::vector<std::string> probes;
  for (const std::wstring& probe : probesAt(scale)) probes.emplace_back(probe.begin(), probe.end());
  return probes;
}

void benchGrowClassesTo(int scale) { growClassesTo(scale); }
