// The kernel service hands out containers with exactly the settings asked for.
#include <vector>

#include "KmRxTestSupport.h"

namespace {

struct CountedObject : YcRxObject {
  explicit CountedObject(int* deaths) : mpDeaths(deaths) {}
  ~CountedObject() override { ++*mpDeaths; }
  int* mpDeaths;
};

class KernelServiceTest : public RuntimeTest {
protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    auto* services = YcRxDictionary::cast(ycrxSysRegistry()->at(L"ServiceDictionary"));
    mpKernel = services ? YcRxKernel::cast(services->at(L"KernelServices")) : nullptr;
    ASSERT_NE(nullptr, mpKernel);
    EXPECT_EQ(ycrxGetModule()->getRxKernel(), mpKernel);
  }
  YcRxKernel* mpKernel = nullptr;
};

TEST_F(KernelServiceTest, DictionariesTakeTheSettingsAskedFor) {
  // Short form: sorted, case-sensitive, never deleting its values.
  YcRxDictionary* d = mpKernel->newYcRxDictionary(true, false);
  ASSERT_NE(nullptr, YcRxDictionaryImp::cast(d));
  EXPECT_TRUE(d->isSorted() && d->isCaseSensitive());
  int deaths = 0;
  auto* kept = new CountedObject(&deaths);
  d->atPut(L"A", kept);
  delete d;
  EXPECT_EQ(0, deaths);
  if (deaths == 0) delete kept;  // else it is gone already
  deaths = 0;

  d = mpKernel->newYcRxDictionary(16u, true, false, true);
  EXPECT_FALSE(d->isSorted());
  d->atPut(L"Key", new CountedObject(&deaths));
  EXPECT_NE(nullptr, d->at(L"KEY"));
  delete d;
  EXPECT_EQ(1, deaths) << "an owning dictionary deletes its values";

  d = mpKernel->newYcRxDictionary(YcRxService::desc());
  EXPECT_FALSE(d->isSorted() || d->deletesObjects());
  YcRxService service;
  YcRxLinkedList list;
  EXPECT_EQ(nullptr, d->atPut(L"service", &service));
  EXPECT_EQ(&list, d->atPut(L"list", &list)) << "refused values come back";
  EXPECT_FALSE(d->has(L"list") || d->has(L"SERVICE"));
  delete d;
}

TEST_F(KernelServiceTest, FactoriesGiveNewEmptyContainersAndOnlyThoseIterate) {
  YcRxGenericCollection* c = mpKernel->newYcRxGenericCollection();
  YcRxGenericMap* m = mpKernel->newYcRxGenericMap();
  ASSERT_TRUE(YcRxLinkedList::cast(c) && YcRxMap::cast(m));
  EXPECT_EQ(0, c->count() + m->count());
  YcRxPEClassMap peMap;
  YcRxDictionary* d = mpKernel->newYcRxDictionary(false, false);
  YcRxString text(L"text", false);
  for (YcRxObject* obj : std::vector<YcRxObject*>{c, m, &peMap, d, &text, nullptr}) {
    const bool iterable = obj == c || obj == m || obj == &peMap;
    EXPECT_EQ(iterable, IsObjectIterable(obj));
    EXPECT_EQ(iterable ? obj : nullptr, GetIterableInterface(obj));
  }
  delete d;
  delete m;
  delete c;
}

}  // namespace
