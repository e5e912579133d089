// Protocol extensions: queryX on the deepest class of an 8-deep chain whose
// root carries 1, 8 or 64 extensions, against standard maps of the same size;
// and the cost of addX/delX on the root of trees of 1,000 and 10,000 classes.
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "BenchSupport.h"

namespace {

constexpr int kProtocols = 64;
constexpr int kProbes = 64;
constexpr int kChainDepth = 8;

struct ExtensionChain {
  YcRxClass* root = nullptr;
  YcRxClass* deepest = nullptr;
  std::vector<const YcRxClass*> probes;  // the protocol classes, cycled
  std::unordered_map<const void*, void*> hashed;
  std::map<const void*, void*> ordered;
};

std::vector<YcRxClass*> gProtocols;
std::vector<std::unique_ptr<YcRxObject>> gExtensions;  // not owned by the classes
std::map<int, ExtensionChain> gChains;                  // by extension count

void buildChains() {
  for (int p = 0; p < kProtocols; ++p)
    gProtocols.push_back(benchNewClass(L"BenchProto" + std::to_wstring(p), L"AcRxObject"));
  for (int count : {1, 8, 64}) {
    ExtensionChain& chain = gChains[count];
    std::wstring parent = L"AcRxObject";
    for (int d = 1; d <= kChainDepth; ++d) {
      const std::wstring name = L"BenchX" + std::to_wstring(count) + L"_Depth" + std::to_wstring(d);
      YcRxClass* cls = benchNewClass(name, parent.c_str());
      if (d == 1) chain.root = cls;
      chain.deepest = cls;
      parent = name;
    }
  }
  ycrxBuildClassHierarchy();
  for (auto& [count, chain] : gChains) {
    for (int p = 0; p < count; ++p) {
      gExtensions.push_back(std::make_unique<YcRxObject>());
      chain.root->addX(gProtocols[p], gExtensions.back().get());
      chain.hashed.emplace(gProtocols[p], gExtensions.back().get());
      chain.ordered.emplace(gProtocols[p], gExtensions.back().get());
    }
    for (int i = 0; i < kProbes; ++i) chain.probes.push_back(gProtocols[i % count]);
  }
}

bool chainIsPushedDown(const ExtensionChain& chain) {
  for (const YcRxClass* protocol : chain.probes)
    if (chain.deepest->queryX(protocol) != chain.hashed.at(protocol)) return false;
  return true;
}

void BM_QueryX(benchmark::State& state, int count) {
  const ExtensionChain& chain = gChains.at(count);
  if (!chainIsPushedDown(chain)) state.SkipWithError("extension not inherited");
  unsigned i = 0;
  for (auto _ : state) {
    YcRxObject* ext = chain.deepest->queryX(chain.probes[i++ & (kProbes - 1)]);
    benchmark::DoNotOptimize(ext);
  }
}

void BM_UnorderedFind(benchmark::State& state, int count) {
  const ExtensionChain& chain = gChains.at(count);
  unsigned i = 0;
  for (auto _ : state) {
    auto pos = chain.hashed.find(chain.probes[i++ & (kProbes - 1)]);
    benchmark::DoNotOptimize(pos);
  }
}

void BM_OrderedFind(benchmark::State& state, int count) {
  const ExtensionChain& chain = gChains.at(count);
  unsigned i = 0;
  for (auto _ : state) {
    auto pos = chain.ordered.find(chain.probes[i++ & (kProbes - 1)]);
    benchmark::DoNotOptimize(pos);
  }
}

// --- addX on the root of a large tree ---------------------------------------------------

// A 10-ary tree filled level by level: class i's parent is class (i - 1) / 10.
struct Tree {
  YcRxClass* root = nullptr;
  YcRxClass* someLeaf = nullptr;
};

YcRxClass* gTreeProtocol = nullptr;
std::unique_ptr<YcRxObject> gTreeExtension;

// Built on first use, so the class dictionary is small while the look-up
// benchmarks run.
const Tree& treeOf(int size) {
  static std::map<int, Tree> trees;
  auto found = trees.find(size);
  if (found != trees.end()) return found->second;
  if (!gTreeProtocol) {
    gTreeProtocol = benchNewClass(L"BenchTreeProto", L"AcRxObject");
    gTreeExtension = std::make_unique<YcRxObject>();
  }
  Tree& tree = trees[size];
  const std::wstring stem = L"BenchTree" + std::to_wstring(size) + L"_";
  std::vector<std::wstring> names;
  for (int i = 0; i < size; ++i) names.push_back(stem + std::to_wstring(i));
  for (int i = 0; i < size; ++i) {
    YcRxClass* cls = benchNewClass(names[i], i == 0 ? L"AcRxObject" : names[(i - 1) / 10].c_str());
    if (i == 0) tree.root = cls;
    tree.someLeaf = cls;
  }
  ycrxBuildClassHierarchy();
  return tree;
}

void BM_AddXDelXOnRoot(benchmark::State& state, int size) {
  const Tree& tree = treeOf(size);
  tree.root->addX(gTreeProtocol, gTreeExtension.get());
  if (tree.someLeaf->queryX(gTreeProtocol) != gTreeExtension.get())
    state.SkipWithError("extension not pushed down");
  tree.root->delX(gTreeProtocol);
  for (auto _ : state) {
    tree.root->addX(gTreeProtocol, gTreeExtension.get());
    tree.root->delX(gTreeProtocol);
  }
  if (tree.someLeaf->queryX(gTreeProtocol) != nullptr) state.SkipWithError("extension left behind");
  // Classes visited: the whole tree, twice per iteration.
  state.SetItemsProcessed(state.iterations() * 2 * size);
}

}  // namespace

void registerExtensionBenchmarks() {
  buildChains();
  using benchmark::RegisterBenchmark;
  for (int count : {1, 8, 64}) {
    const std::string stem = "queryX/depth8_ext" + std::to_string(count) + "/";
    RegisterBenchmark((stem + "KmRx_queryX").c_str(), BM_QueryX, count);
    RegisterBenchmark((stem + "std_unordered_map").c_str(), BM_UnorderedFind, count);
    RegisterBenchmark((stem + "std_map").c_str(), BM_OrderedFind, count);
  }
  RegisterBenchmark("addXdelX/tree_1000/KmRx", BM_AddXDelXOnRoot, 1000);
  RegisterBenchmark("addXdelX/tree_10000/KmRx", BM_AddXDelXOnRoot, 10000);
}
