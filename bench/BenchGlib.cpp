// Peer rows from GLib's type system, when it was found at build time:
// g_type_is_a over an 8-deep GType chain, and g_type_from_name over 1,000,
// 10,000 and 100,000 registered type names.
#include "BenchSupport.h"

#ifdef KMRX_BENCH_WITH_GLIB

#include <glib-object.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace {

GType gDepth[9];  // gDepth[1..8]
GType gOther;
std::vector<std::string> gNames;
std::vector<const char*> gProbes;
constexpr int kProbes = 1024;

GType registerType(GType parent, const char* name) {
  return g_type_register_static_simple(parent, g_intern_string(name), sizeof(GObjectClass),
                                       nullptr, sizeof(GObject), nullptr, GTypeFlags(0));
}

void buildTypes() {
  GType parent = G_TYPE_OBJECT;
  for (int d = 1; d <= 8; ++d) {
    const std::string name = "BenchGDepth" + std::to_string(d);
    gDepth[d] = registerType(parent, name.c_str());
    parent = gDepth[d];
  }
  gOther = registerType(G_TYPE_OBJECT, "BenchGOther");
  char buffer[32];
  for (int i = 0; i < 1000; ++i) {
    std::snprintf(buffer, sizeof buffer, "BenchClass%04d", i);
    gNames.emplace_back(buffer);
    registerType(G_TYPE_OBJECT, buffer);
  }
  // The same probe order as the class dictionary's.
  std::mt19937 random(457);
  for (int i = 0; i < kProbes; ++i) gProbes.push_back(gNames[random() % 1000].c_str());
}

template <int Depth, bool Hit>
void BM_GTypeIsA(benchmark::State& state) {
  GType type = gDepth[Depth];
  const GType target = Hit ? gDepth[1] : gOther;
  if (static_cast<bool>(g_type_is_a(type, target)) != Hit) state.SkipWithError("wrong answer");
  for (auto _ : state) {
    benchmark::DoNotOptimize(type);
    gboolean kind = g_type_is_a(type, target);
    benchmark::DoNotOptimize(kind);
  }
}

// The instance check GLib code writes (G_TYPE_CHECK_INSTANCE_TYPE), on an
// instance of the chain's depth-1 or depth-8 type.
template <int Depth, bool Hit>
void BM_GInstanceCheck(benchmark::State& state) {
  static GObject* instance[9] = {};
  if (!instance[Depth]) instance[Depth] = static_cast<GObject*>(g_object_new(gDepth[Depth], nullptr));
  GTypeInstance* object = reinterpret_cast<GTypeInstance*>(instance[Depth]);
  const GType target = Hit ? gDepth[1] : gOther;
  if (static_cast<bool>(G_TYPE_CHECK_INSTANCE_TYPE(object, target)) != Hit) state.SkipWithError("wrong answer");
  for (auto _ : state) {
    benchmark::DoNotOptimize(object);
    gboolean kind = G_TYPE_CHECK_INSTANCE_TYPE(object, target);
    benchmark::DoNotOptimize(kind);
  }
}

// 1,000 static types an iteration, under names never used before (GLib
// cannot take a static type back).
void BM_GTypeRegister(benchmark::State& state) {
  static int round = 0;
  std::vector<std::string> names(1000);
  for (auto _ : state) {
    state.PauseTiming();
    for (int i = 0; i < 1000; ++i) names[i] = "BenchGReg" + std::to_string(round) + "_" + std::to_string(i);
    ++round;
    state.ResumeTiming();
    for (const std::string& name : names) benchmark::DoNotOptimize(registerType(G_TYPE_OBJECT, name.c_str()));
  }
}

// g_type_from_name among as many types as the class dictionary held at
// scale: the same filler names registered as GTypes, the same probes.
void BM_GTypeFromNameAt(benchmark::State& state, int scale) {
  static std::size_t registered = 0;
  const std::vector<std::string> fillers = benchFillerNames(scale);
  for (; registered < fillers.size(); ++registered) registerType(G_TYPE_OBJECT, fillers[registered].c_str());
  const std::vector<std::string> probes = benchProbesAt(scale);
  if (probes.size() != kProbes) {
    state.SkipWithError("the class rows at this size did not run");
    return;
  }
  for (const std::string& probe : probes)
    if (!g_type_from_name(probe.c_str())) state.SkipWithError("type not found");
  unsigned i = 0;
  for (auto _ : state) {
    GType type = g_type_from_name(probes[i++ & (kProbes - 1)].c_str());
    benchmark::DoNotOptimize(type);
  }
}

void BM_GTypeFromName(benchmark::State& state) {
  for (const char* probe : gProbes)
    if (!g_type_from_name(probe)) state.SkipWithError("type not found");
  unsigned i = 0;
  for (auto _ : state) {
    GType type = g_type_from_name(gProbes[i++ & (kProbes - 1)]);
    benchmark::DoNotOptimize(type);
  }
}

}  // namespace

void registerGlibBenchmarks() {
  buildTypes();
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("kindOf/depth1_hit/g_type_is_a", BM_GTypeIsA<1, true>);
  RegisterBenchmark("kindOf/depth1_miss/g_type_is_a", BM_GTypeIsA<1, false>);
  RegisterBenchmark("kindOf/depth8_hit/g_type_is_a", BM_GTypeIsA<8, true>);
  RegisterBenchmark("kindOf/depth8_miss/g_type_is_a", BM_GTypeIsA<8, false>);
  RegisterBenchmark("kindOf/depth1_hit/G_TYPE_CHECK_INSTANCE_TYPE", BM_GInstanceCheck<1, true>);
  RegisterBenchmark("kindOf/depth1_miss/G_TYPE_CHECK_INSTANCE_TYPE", BM_GInstanceCheck<1, false>);
  RegisterBenchmark("kindOf/depth8_hit/G_TYPE_CHECK_INSTANCE_TYPE", BM_GInstanceCheck<8, true>);
  RegisterBenchmark("kindOf/depth8_miss/G_TYPE_CHECK_INSTANCE_TYPE", BM_GInstanceCheck<8, false>);
  RegisterBenchmark("classLookup/1000_classes/g_type_from_name", BM_GTypeFromName);
  RegisterBenchmark("classLookup/10000_classes/g_type_from_name", BM_GTypeFromNameAt, 10000);
  RegisterBenchmark("classLookup/100000_classes/g_type_from_name", BM_GTypeFromNameAt, 100000);
  RegisterBenchmark("register/1000_classes/g_type_register_static", BM_GTypeRegister)->Iterations(30);
}

#else

void registerGlibBenchmarks() {}

#endif
