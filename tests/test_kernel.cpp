// The kernel service: found by name among the services, it hands out
// containers with exactly the settings asked for; and which objects iterate.
#include <string>
#include <vector>

#include "KmRxTestSupport.h"
#include "YcRxModuleFunctions.h"

namespace {

// Counts its own destruction, so a test sees whether a container deleted it.
class CountedObject : public YcRxObject {
public:
  explicit CountedObject(int* deaths) : mpDeaths(deaths) {}
  ~CountedObject() override { ++*mpDeaths; }

private:
  int* mpDeaths;
};

// Records what the short dictionary form passes to the long one.
class SpyKernel : public YcRxKernelServiceImp {
public:
  using YcRxKernelServiceImp::newYcRxDictionary;
  YcRxDictionary* newYcRxDictionary(unsigned int length, bool deletesObjects, bool sorted,
                                    bool ignoreCase) override {
    calls.push_back({length, deletesObjects, sorted, ignoreCase});
    return YcRxKernelServiceImp::newYcRxDictionary(length, deletesObjects, sorted, ignoreCase);
  }
  struct Call {
    unsigned int length;
    bool deletesObjects, sorted, ignoreCase;
  };
  std::vector<Call> calls;
};

class KernelServiceTest : public RuntimeTest {
protected:
  static YcRxKernel* kernel() {
    YcRxDictionary* services = YcRxDictionary::cast(ycrxSysRegistry()->at(L"ServiceDictionary"));
    return services ? YcRxKernel::cast(services->at(L"KernelServices")) : nullptr;
  }

  void SetUp() override {
    RuntimeTest::SetUp();
    mpKernel = kernel();
    ASSERT_NE(nullptr, mpKernel);
  }

  // Keys of d in key order.
  static std::vector<std::wstring> keysInOrder(YcRxDictionary* d) {
    std::vector<std::wstring> keys;
    YcRxDictionaryIterator* it = d->newIterator(YcRx::kDictKeyOrder);
    for (; it && !it->done(); it->next()) keys.emplace_back(it->key());
    delete it;
    return keys;
  }

  YcRxKernel* mpKernel = nullptr;
};

TEST_F(KernelServiceTest, KernelServicesIsTheStartedKernel) {
  EXPECT_TRUE(mpKernel->isKindOf(YcRxKernelServiceImp::desc()));
  EXPECT_TRUE(mpKernel->isKindOf(YcRxService::desc()));
  EXPECT_EQ(ycrxGetModule()->getRxKernel(), mpKernel);
  EXPECT_TRUE(ycrxServiceIsRegistered(L"KernelServices"));
}

TEST_F(KernelServiceTest, ShortDictionaryIsSortedCaseSensitiveAndNeverDeletesValues) {
  YcRxDictionary* d = mpKernel->newYcRxDictionary(true, false);
  ASSERT_NE(nullptr, d);
  EXPECT_NE(nullptr, YcRxDictionaryImp::cast(d));
  EXPECT_TRUE(d->isSorted());
  EXPECT_TRUE(d->isCaseSensitive());
  EXPECT_FALSE(d->deletesObjects());
  EXPECT_EQ(0u, d->numEntries());

  int deaths = 0;
  auto* b = new CountedObject(&deaths);
  auto* upper = new CountedObject(&deaths);
  auto* lower = new CountedObject(&deaths);
  d->atPut(L"b", b);
  d->atPut(L"A", upper);
  d->atPut(L"a", lower);
  EXPECT_EQ(3u, d->numEntries()) << "\"A\" and \"a\" are different keys";
  EXPECT_EQ(upper, d->at(L"A"));
  EXPECT_FALSE(d->has(L"B"));
  EXPECT_EQ((std::vector<std::wstring>{L"A", L"a", L"b"}), keysInOrder(d));

  delete d;
  EXPECT_EQ(0, deaths);
  if (deaths == 0) {  // else they are gone already
    delete b;
    delete upper;
    delete lower;
  }
}

TEST_F(KernelServiceTest, ShortDictionaryGoesThroughTheLongFormsSlot) {
  SpyKernel spy;
  YcRxKernel& asKernel = spy;
  YcRxDictionary* d = asKernel.newYcRxDictionary(true, true);
  ASSERT_EQ(1u, spy.calls.size());
  EXPECT_EQ(0u, spy.calls[0].length);
  EXPECT_FALSE(spy.calls[0].deletesObjects);
  EXPECT_TRUE(spy.calls[0].sorted);
  EXPECT_TRUE(spy.calls[0].ignoreCase);
  delete d;
}

TEST_F(KernelServiceTest, LongDictionaryTakesEverySetting) {
  YcRxDictionary* owning = mpKernel->newYcRxDictionary(16u, true, false, true);
  ASSERT_NE(nullptr, owning);
  EXPECT_TRUE(owning->deletesObjects());
  EXPECT_FALSE(owning->isSorted());
  EXPECT_FALSE(owning->isCaseSensitive());
  int deaths = 0;
  owning->atPut(L"Key", new CountedObject(&deaths));
  EXPECT_NE(nullptr, owning->at(L"KEY"));
  delete owning;
  EXPECT_EQ(1, deaths) << "an owning dictionary deletes its values";

  YcRxDictionary* plain = mpKernel->newYcRxDictionary(0u, false, true, false);
  ASSERT_NE(nullptr, plain);
  EXPECT_FALSE(plain->deletesObjects());
  EXPECT_TRUE(plain->isSorted());
  EXPECT_TRUE(plain->isCaseSensitive());
  delete plain;
}

TEST_F(KernelServiceTest, FilterDictionaryIsPlainAndRefusesOtherClasses) {
  YcRxDictionary* d = mpKernel->newYcRxDictionary(YcRxService::desc());
  ASSERT_NE(nullptr, d);
  EXPECT_FALSE(d->isSorted());
  EXPECT_TRUE(d->isCaseSensitive());
  ASSERT_FALSE(d->deletesObjects());

  YcRxService service;
  YcRxLinkedList list;  // a class with a parent that is no service
  EXPECT_EQ(nullptr, d->atPut(L"service", &service));
  EXPECT_EQ(&service, d->at(L"service"));
  EXPECT_EQ(&list, d->atPut(L"list", &list)) << "refused values come back";
  EXPECT_FALSE(d->has(L"list"));
  EXPECT_FALSE(d->has(L"SERVICE"));
  EXPECT_EQ(1u, d->numEntries());
  delete d;
}

TEST_F(KernelServiceTest, CollectionAndMapFactoriesGiveNewEmptyContainers) {
  YcRxGenericCollection* c1 = mpKernel->newYcRxGenericCollection();
  YcRxGenericCollection* c2 = mpKernel->newYcRxGenericCollection();
  ASSERT_NE(nullptr, c1);
  EXPECT_NE(c1, c2);
  EXPECT_NE(nullptr, YcRxLinkedList::cast(c1));
  EXPECT_TRUE(c1->isEmpty());
  EXPECT_EQ(0, c1->count());

  YcRxGenericMap* m = mpKernel->newYcRxGenericMap();
  ASSERT_NE(nullptr, m);
  EXPECT_NE(nullptr, YcRxMap::cast(m));
  EXPECT_EQ(0, m->count());
  delete m;
  delete c2;
  delete c1;
}

TEST_F(KernelServiceTest, OnlyCollectionsAndMapsAreIterable) {
  YcRxLinkedList list;
  YcRxMap map;
  YcRxPEClassMap peMap;
  for (YcRxObject* obj : std::vector<YcRxObject*>{&list, &map, &peMap}) {
    EXPECT_TRUE(IsObjectIterable(obj)) << obj->isA()->name();
    EXPECT_EQ(obj, GetIterableInterface(obj));
  }

  YcRxDictionary* d = mpKernel->newYcRxDictionary(false, false);
  YcRxString text(L"text", false);
  YcRxObject plain;
  for (YcRxObject* obj : std::vector<YcRxObject*>{d, &text, &plain}) {
    EXPECT_FALSE(IsObjectIterable(obj)) << obj->isA()->name();
    EXPECT_EQ(nullptr, GetIterableInterface(obj));
  }
  EXPECT_FALSE(IsObjectIterable(nullptr));
  EXPECT_EQ(nullptr, GetIterableInterface(nullptr));
  delete d;
}

}  // namespace
