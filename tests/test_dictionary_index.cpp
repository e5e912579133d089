// The dictionaries' hash index and free-slot hint against the plain walks they
// stand in for: random operations on pairs of dictionaries of each kind, one
// with the indexes and one answering by walks only. Every observable result
// must agree after every step: returns, ids, look-ups, entry counts, both
// iteration orders.
#include <map>
#include <random>
#include <string>
#include <vector>

#include "KmRxTestSupport.h"
#include "containers/YcRxDictionaryStore.h"

namespace {

// A few texts that collide under one case rule and not under the other.
const wchar_t* const kKeys[] = {L"a", L"A", L"b", L"B", L"ab", L"aB", L"Ab", L"c", L"\xE9", L"\xC9", L"key"};

class Side {
public:
  Side(bool sorted, bool ignoreCase, bool walksOnly)
      : mDict(static_cast<YcRxDictionaryImp*>(
            YcRxDictionaryImp::createDictionary(0, false, sorted, ignoreCase, nullptr))) {
    if (walksOnly) YcRxDictionaryStore::of(const_cast<YcRxDictionaryImp::ItemArray*>(&mDict->items()))->useWalksOnly();
  }
  ~Side() {
    for (unsigned int id = 1; id < 64; ++id) release(mDict->remove(id));
    delete mDict;
  }

  YcRxDictionaryImp& dict() { return *mDict; }
  YcRxObject* make(int tag) {
    auto* object = new YcRxObject();
    mTags[object] = tag;
    return object;
  }
  // The tag of an object the dictionary hands back (0 for null).
  int tag(const YcRxObject* object) const {
    const auto found = mTags.find(object);
    return object ? (found == mTags.end() ? -1 : found->second) : 0;
  }
  void release(YcRxObject* object) { delete object; }

  // Everything a caller can observe, as text.
  std::wstring state() {
    std::wstring out = L"n=" + std::to_wstring(mDict->numEntries()) + L";";
    for (const wchar_t* key : kKeys)
      out += std::wstring(key) + L"=" + std::to_wstring(mDict->idAt(key)) + L"/" + std::to_wstring(tag(mDict->at(key))) +
             (mDict->has(key) ? L"+" : L"-") + L";";
    for (unsigned int id = 0; id < 26; ++id) {
      const wchar_t* key = mDict->keyAt(id);
      out += std::to_wstring(id) + (key ? L":" + std::wstring(key) : L":-") + L"/" + std::to_wstring(tag(mDict->at(id))) + L";";
    }
    for (auto type : {YcRx::kDictKeyOrder, YcRx::kDictIdOrder}) {
      YcRxDictionaryIterator* it = mDict->newIterator(type);
      for (; !it->done(); it->next())
        out += std::wstring(it->key()) + L"@" + std::to_wstring(it->id()) + L",";
      delete it;
      out += L"|";
    }
    return out;
  }

private:
  YcRxDictionaryImp* mDict;
  std::map<const YcRxObject*, int> mTags;
};

// One random step on both sides; what each returns, as text.
std::wstring step(Side& side, int tag, unsigned int choice, const wchar_t* key,
                  const wchar_t* other, unsigned int id) {
  YcRxDictionaryImp& d = side.dict();
  switch (choice) {
    case 0:
    case 1: {  // the common case weighs twice
      unsigned int got = 0;
      YcRxObject* value = side.make(tag);
      YcRxObject* back = d.atPut(key, value, got);
      const std::wstring out = std::to_wstring(side.tag(back)) + L"#" + std::to_wstring(got);
      if (back) side.release(back);
      return out;
    }
    case 2: {
      YcRxObject* value = side.make(tag);
      const bool put = d.atKeyAndIdPut(key, id, value);
      if (!put) side.release(value);
      return put ? L"put" : L"not";
    }
    case 3: return d.resetKey(key, other) ? L"reset" : L"not";
    case 4: return d.resetKey(id, other) ? L"reset" : L"not";
    case 5: {
      YcRxObject* gone = d.remove(key);
      const std::wstring out = std::to_wstring(side.tag(gone));
      side.release(gone);
      return out;
    }
    default: {
      YcRxObject* gone = d.remove(id);
      const std::wstring out = std::to_wstring(side.tag(gone));
      side.release(gone);
      return out;
    }
  }
}

}  // namespace

TEST(DictionaryIndex, AgreesWithThePlainWalksUnderRandomEditsOfEveryKind) {
  for (const bool sorted : {false, true})
    for (const bool ignoreCase : {false, true})
      for (unsigned int seed = 1; seed <= 10; ++seed) {
        SCOPED_TRACE(testing::Message() << "sorted " << sorted << ", ignoreCase " << ignoreCase << ", seed " << seed);
        Side fast(sorted, ignoreCase, false), plain(sorted, ignoreCase, true);
        std::mt19937 random(seed);
        for (int n = 0; n < 250; ++n) {
          const unsigned int choice = random() % 7;
          const wchar_t* key = kKeys[random() % (sizeof kKeys / sizeof *kKeys)];
          const wchar_t* other = kKeys[random() % (sizeof kKeys / sizeof *kKeys)];
          const unsigned int id = 1 + random() % 24;
          const std::wstring a = step(fast, n + 1, choice, key, other, id);
          const std::wstring b = step(plain, n + 1, choice, key, other, id);
          ASSERT_EQ(b, a) << "step " << n << " (operation " << choice << ")";
          ASSERT_EQ(plain.state(), fast.state()) << "after step " << n << " (operation " << choice << ")";
        }
      }
}
