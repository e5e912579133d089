// Runtime containers against the standard ones: remove/put churn on an
// unsorted dictionary, and iteration over a linked list and an object map.
#include <cstdint>
#include <cwchar>
#include <list>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "BenchSupport.h"

// Map keys must clone, and a plain YcRxString has no factory to clone with
// (its clone is null); this string class has one and is otherwise the same.
class BenchKey : public YcRxString {
public:
  YCRX_DECLARE_MEMBERS(BenchKey);
  BenchKey() = default;
  explicit BenchKey(const wchar_t* text) : YcRxString(text, false) {}
};
YCRX_DEFINE_MEMBERS_WITH_CONS(BenchKey, L"BenchKey", L"YcRxString")

namespace {

constexpr int kChurnEntries = 100;
constexpr int kIterated = 10000;
// Steps through all 100 keys in an order that is not the insertion order.
constexpr int kChurnStride = 37;

std::vector<std::unique_ptr<YcRxObject>> makeObjects(int count) {
  std::vector<std::unique_ptr<YcRxObject>> objects;
  for (int i = 0; i < count; ++i) objects.push_back(std::make_unique<YcRxObject>());
  return objects;
}

void BM_DictionaryChurn(benchmark::State& state) {
  const std::vector<std::wstring> keys = benchNames(L"ChurnKey", kChurnEntries);
  const auto values = makeObjects(kChurnEntries);
  YcRxDictionary* dict = YcRxDictionaryImp::createDictionary(0, false, false, false, nullptr);
  for (int i = 0; i < kChurnEntries; ++i) dict->atPut(keys[i].c_str(), values[i].get());
  int k = 0;
  for (auto _ : state) {
    const wchar_t* key = keys[k].c_str();
    YcRxObject* value = dict->remove(key);
    dict->atPut(key, value);
    k = (k + kChurnStride) % kChurnEntries;
  }
  if (dict->numEntries() != kChurnEntries) state.SkipWithError("entries lost");
  delete dict;
}

void BM_UnorderedChurn(benchmark::State& state) {
  const std::vector<std::wstring> keys = benchNames(L"ChurnKey", kChurnEntries);
  const auto values = makeObjects(kChurnEntries);
  std::unordered_map<std::wstring, void*> map;
  for (int i = 0; i < kChurnEntries; ++i) map.emplace(keys[i], values[i].get());
  int k = 0;
  for (auto _ : state) {
    const std::wstring& key = keys[k];
    auto pos = map.find(key);
    void* value = pos->second;
    map.erase(pos);
    map.emplace(key, value);
    k = (k + kChurnStride) % kChurnEntries;
  }
  if (map.size() != kChurnEntries) state.SkipWithError("entries lost");
}

void BM_LinkedListIterate(benchmark::State& state) {
  const auto objects = makeObjects(kIterated);
  YcRxLinkedList list;
  for (const auto& obj : objects) list.addTail(obj.get());
  for (auto _ : state) {
    YcRxIterator* it = list.newIterator();
    std::uintptr_t sum = 0;
    for (; !it->done(); it->next()) sum += reinterpret_cast<std::uintptr_t>(it->object());
    delete it;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kIterated);
  list.removeAll();
}

void BM_StdListIterate(benchmark::State& state) {
  const auto objects = makeObjects(kIterated);
  std::list<YcRxObject*> list;
  for (const auto& obj : objects) list.push_back(obj.get());
  for (auto _ : state) {
    std::uintptr_t sum = 0;
    for (YcRxObject* obj : list) sum += reinterpret_cast<std::uintptr_t>(obj);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kIterated);
}

void BM_ObjectMapIterate(benchmark::State& state) {
  const std::vector<std::wstring> keys = benchNames(L"MapKey", kIterated);
  const auto values = makeObjects(kIterated);
  YcRxMap map;
  for (int i = 0; i < kIterated; ++i) {
    BenchKey key(keys[i].c_str());
    map.setAt(&key, values[i].get());
  }
  if (map.count() != kIterated) state.SkipWithError("keys lost");
  for (auto _ : state) {
    YcRxGenericMapIterator* it = map.newMapIterator();
    std::uintptr_t sum = 0;
    for (; !it->done(); it->next())
      sum += reinterpret_cast<std::uintptr_t>(it->object()) ^
             reinterpret_cast<std::uintptr_t>(it->key());
    delete it;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kIterated);
  map.removeAll();
}

void BM_StdMapIterate(benchmark::State& state) {
  const std::vector<std::wstring> keys = benchNames(L"MapKey", kIterated);
  const auto values = makeObjects(kIterated);
  std::map<std::wstring, void*> map;
  for (int i = 0; i < kIterated; ++i) map.emplace(keys[i], values[i].get());
  for (auto _ : state) {
    std::uintptr_t sum = 0;
    for (const auto& entry : map)
      sum += reinterpret_cast<std::uintptr_t>(entry.second) ^
             reinterpret_cast<std::uintptr_t>(&entry.first);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kIterated);
}

}  // namespace

void registerContainerBenchmarks() {
  BenchKey::rxInit();
  ycrxBuildClassHierarchy();
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("dictChurn/100_unsorted/KmRx_remove_atPut", BM_DictionaryChurn);
  RegisterBenchmark("dictChurn/100_unsorted/std_unordered_map_erase_insert", BM_UnorderedChurn);
  RegisterBenchmark("iterate/list_10000/KmRx_YcRxLinkedList", BM_LinkedListIterate);
  RegisterBenchmark("iterate/list_10000/std_list", BM_StdListIterate);
  RegisterBenchmark("iterate/map_10000/KmRx_YcRxMap", BM_ObjectMapIterate);
  RegisterBenchmark("iterate/map_10000/std_map", BM_StdMapIterate);
}
