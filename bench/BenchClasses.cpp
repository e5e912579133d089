// Class identity and class look-up: isKindOf / cast over an 8-deep chain of
// registered descriptors against dynamic_cast over the same C++ shape, desc()
// against a function-local static, and look-up by name in the class
// dictionary against standard maps.
#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <map>
#include <memory>
#include <random>
#include <unordered_map>
#include <vector>

#include "BenchSupport.h"

// --- runtime side: a registered chain BenchDepth1 <- ... <- BenchDepth8 -------------

// BenchDepth1 is registered below with newYcRxClass; desc() and cast() find it by name.
class BenchDepth1Obj : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(BenchDepth1Obj);
};
YCRX_DEFINE_MEMBERS(BenchDepth1Obj, L"BenchDepth1", L"AcRxObject")

// A sibling branch of the chain: every cast to it from the chain misses.
class BenchOtherObj : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(BenchOtherObj);
};
YCRX_DEFINE_MEMBERS(BenchOtherObj, L"BenchOther", L"AcRxObject")

namespace {

// An object of any class of the chain: isA() answers the descriptor it was given.
class BenchChainObj : public BenchDepth1Obj {
public:
  explicit BenchChainObj(YcRxClass* cls) : mpClass(cls) {}
  YcRxClass* isA() const override { return mpClass; }

private:
  YcRxClass* mpClass;
};

// --- C++ side: the same shape, polymorphic ---------------------------------------------

struct CxxBase {
  virtual ~CxxBase();
};
CxxBase::~CxxBase() = default;
struct CxxD1 : CxxBase {};
struct CxxD2 : CxxD1 {};
struct CxxD3 : CxxD2 {};
struct CxxD4 : CxxD3 {};
struct CxxD5 : CxxD4 {};
struct CxxD6 : CxxD5 {};
struct CxxD7 : CxxD6 {};
struct CxxD8 : CxxD7 {};
struct CxxOther : CxxBase {};

struct ChainFixture {
  YcRxClass* depth[9] = {};  // depth[1..8]
  YcRxClass* other = nullptr;
  std::unique_ptr<BenchChainObj> obj1, obj8;
  std::unique_ptr<CxxBase> cxx1, cxx8;
};
ChainFixture gChain;

void buildChain() {
  const wchar_t* parent = L"AcRxObject";
  std::wstring names[9];
  for (int d = 1; d <= 8; ++d) {
    names[d] = L"BenchDepth" + std::to_wstring(d);
    gChain.depth[d] = benchNewClass(names[d], parent);
    parent = names[d].c_str();
  }
  gChain.other = benchNewClass(L"BenchOther", L"AcRxObject");
  ycrxBuildClassHierarchy();
  gChain.obj1 = std::make_unique<BenchChainObj>(gChain.depth[1]);
  gChain.obj8 = std::make_unique<BenchChainObj>(gChain.depth[8]);
  gChain.cxx1 = std::make_unique<CxxD1>();
  gChain.cxx8 = std::make_unique<CxxD8>();
}

template <int Depth, bool Hit>
void BM_IsKindOf(benchmark::State& state) {
  const YcRxObject* obj = Depth == 1 ? gChain.obj1.get() : gChain.obj8.get();
  const YcRxClass* target = Hit ? gChain.depth[1] : gChain.other;
  if (obj->isKindOf(target) != Hit) state.SkipWithError("wrong answer");
  for (auto _ : state) {
    benchmark::DoNotOptimize(obj);
    bool kind = obj->isKindOf(target);
    benchmark::DoNotOptimize(kind);
  }
}

template <int Depth, bool Hit>
void BM_Cast(benchmark::State& state) {
  const YcRxObject* obj = Depth == 1 ? gChain.obj1.get() : gChain.obj8.get();
  const bool answer = Hit ? BenchDepth1Obj::cast(obj) != nullptr : BenchOtherObj::cast(obj) != nullptr;
  if (answer != Hit) state.SkipWithError("wrong answer");
  for (auto _ : state) {
    benchmark::DoNotOptimize(obj);
    if (Hit) {
      BenchDepth1Obj* p = BenchDepth1Obj::cast(obj);
      benchmark::DoNotOptimize(p);
    } else {
      BenchOtherObj* p = BenchOtherObj::cast(obj);
      benchmark::DoNotOptimize(p);
    }
  }
}

// The floor of an exact-class hit: the interface asks the object for its
// class through a virtual isA(), then compares.
void BM_VirtualIsA(benchmark::State& state) {
  const YcRxObject* obj = gChain.obj1.get();
  const YcRxClass* target = gChain.depth[1];
  for (auto _ : state) {
    benchmark::DoNotOptimize(obj);
    bool same = obj->isA() == target;
    benchmark::DoNotOptimize(same);
  }
}

template <int Depth, bool Hit>
void BM_DynamicCast(benchmark::State& state) {
  CxxBase* obj = Depth == 1 ? gChain.cxx1.get() : gChain.cxx8.get();
  for (auto _ : state) {
    benchmark::DoNotOptimize(obj);
    if (Hit) {
      CxxD1* p = dynamic_cast<CxxD1*>(obj);
      benchmark::DoNotOptimize(p);
    } else {
      CxxOther* p = dynamic_cast<CxxOther*>(obj);
      benchmark::DoNotOptimize(p);
    }
  }
}

// The peer of desc(): a pointer set up on first use and read afterwards.
YcRxClass* makeDescOnce() { return YcRxString::desc(); }
__attribute__((noinline)) YcRxClass* staticLocalDesc() {
  static YcRxClass* cached = makeDescOnce();
  return cached;
}

void BM_Desc(benchmark::State& state) {
  (void)YcRxString::desc();
  for (auto _ : state) {
    YcRxClass* cls = YcRxString::desc();
    benchmark::DoNotOptimize(cls);
  }
}

void BM_StaticLocal(benchmark::State& state) {
  (void)staticLocalDesc();
  for (auto _ : state) {
    YcRxClass* cls = staticLocalDesc();
    benchmark::DoNotOptimize(cls);
  }
}

// --- class look-up by name -----------------------------------------------------------

constexpr int kLookupClasses = 1000;
constexpr int kProbes = 1024;  // a power of two, so the probe index is a mask

struct NoCaseLess {
  using is_transparent = void;
  bool operator()(const std::wstring& a, const std::wstring& b) const {
    return ::wcscasecmp(a.c_str(), b.c_str()) < 0;
  }
  bool operator()(const std::wstring& a, const wchar_t* b) const { return ::wcscasecmp(a.c_str(), b) < 0; }
  bool operator()(const wchar_t* a, const std::wstring& b) const { return ::wcscasecmp(a, b.c_str()) < 0; }
};

struct LookupFixture {
  std::vector<std::wstring> names;
  std::vector<const wchar_t*> probes;  // registered names in a fixed shuffled order
  std::map<std::wstring, void*, NoCaseLess> noCaseMap;
  std::unordered_map<std::wstring, void*> lowerMap;
  std::vector<std::wstring> lowerProbes;
};
LookupFixture gLookup;

std::wstring lowered(const wchar_t* s) {
  std::wstring out(s);
  for (wchar_t& c : out) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  return out;
}

void buildLookup() {
  wchar_t buffer[32];
  for (int i = 0; i < kLookupClasses; ++i) {
    std::swprintf(buffer, 32, L"BenchClass%04d", i);
    gLookup.names.emplace_back(buffer);
  }
  for (const std::wstring& name : gLookup.names) {
    YcRxClass* cls = benchNewClass(name, L"AcRxObject");
    gLookup.noCaseMap.emplace(name, cls);
    gLookup.lowerMap.emplace(lowered(name.c_str()), cls);
  }
  ycrxBuildClassHierarchy();
  std::mt19937 random(457);
  for (int i = 0; i < kProbes; ++i) {
    const std::wstring& name = gLookup.names[random() % kLookupClasses];
    gLookup.probes.push_back(name.c_str());
    gLookup.lowerProbes.push_back(lowered(name.c_str()));
  }
}

void BM_ClassDicAt(benchmark::State& state) {
  YcRxDictionary* classes = ycrxInternalGetClassDic();
  for (const wchar_t* probe : gLookup.probes)
    if (!classes->at(probe)) state.SkipWithError("class not found");
  unsigned i = 0;
  for (auto _ : state) {
    YcRxObject* cls = classes->at(gLookup.probes[i++ & (kProbes - 1)]);
    benchmark::DoNotOptimize(cls);
  }
}

void BM_NoCaseMapFind(benchmark::State& state) {
  unsigned i = 0;
  for (auto _ : state) {
    auto pos = gLookup.noCaseMap.find(gLookup.probes[i++ & (kProbes - 1)]);
    benchmark::DoNotOptimize(pos);
  }
}

// Keys are stored lower-cased; each probe is lowered first, as a case-blind
// look-up must do.
void BM_LowerUnorderedFind(benchmark::State& state) {
  unsigned i = 0;
  std::wstring key;
  key.reserve(64);
  for (auto _ : state) {
    const wchar_t* probe = gLookup.probes[i++ & (kProbes - 1)];
    key.assign(probe);
    for (wchar_t& c : key) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
    auto pos = gLookup.lowerMap.find(key);
    benchmark::DoNotOptimize(pos);
  }
}

// The same without the lowering: the probes were lowered in advance.
void BM_PreloweredUnorderedFind(benchmark::State& state) {
  unsigned i = 0;
  for (auto _ : state) {
    auto pos = gLookup.lowerMap.find(gLookup.lowerProbes[i++ & (kProbes - 1)]);
    benchmark::DoNotOptimize(pos);
  }
}

}  // namespace

void registerClassBenchmarks() {
  buildChain();
  buildLookup();
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("kindOf/depth1_hit/KmRx_isKindOf", BM_IsKindOf<1, true>);
  RegisterBenchmark("kindOf/depth1_hit/KmRx_cast", BM_Cast<1, true>);
  RegisterBenchmark("kindOf/depth1_hit/dynamic_cast", BM_DynamicCast<1, true>);
  RegisterBenchmark("kindOf/depth1_hit/virtual_isA_compare", BM_VirtualIsA);
  RegisterBenchmark("kindOf/depth1_miss/KmRx_isKindOf", BM_IsKindOf<1, false>);
  RegisterBenchmark("kindOf/depth1_miss/KmRx_cast", BM_Cast<1, false>);
  RegisterBenchmark("kindOf/depth1_miss/dynamic_cast", BM_DynamicCast<1, false>);
  RegisterBenchmark("kindOf/depth8_hit/KmRx_isKindOf", BM_IsKindOf<8, true>);
  RegisterBenchmark("kindOf/depth8_hit/KmRx_cast", BM_Cast<8, true>);
  RegisterBenchmark("kindOf/depth8_hit/dynamic_cast", BM_DynamicCast<8, true>);
  RegisterBenchmark("kindOf/depth8_miss/KmRx_isKindOf", BM_IsKindOf<8, false>);
  RegisterBenchmark("kindOf/depth8_miss/KmRx_cast", BM_Cast<8, false>);
  RegisterBenchmark("kindOf/depth8_miss/dynamic_cast", BM_DynamicCast<8, false>);
  RegisterBenchmark("desc/after_first_use/KmRx_desc", BM_Desc);
  RegisterBenchmark("desc/after_first_use/static_local", BM_StaticLocal);
  RegisterBenchmark("classLookup/1000_classes/KmRx_classDic_at", BM_ClassDicAt);
  RegisterBenchmark("classLookup/1000_classes/std_map_nocase", BM_NoCaseMapFind);
  RegisterBenchmark("classLookup/1000_classes/std_unordered_map_lowering", BM_LowerUnorderedFind);
  RegisterBenchmark("classLookup/1000_classes/std_unordered_map_prelowered",
                    BM_PreloweredUnorderedFind);
}
