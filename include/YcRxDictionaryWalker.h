// Runs a function object over a dictionary's values until it reports a hit.
// The function object is called as bool f(YcRxObject* value, Arg arg); null
// values are skipped. go() resumes where the previous call stopped.
#pragma once
#include "YcRxDictionary.h"

template <typename Dict, typename Functor, typename Arg>
class YcRxDictionaryWalker {
public:
  explicit YcRxDictionaryWalker(Dict* dict)
      : mpDict(dict), mpIter(dict ? dict->newIterator(YcRx::kDictKeyOrder) : nullptr), mFunctor() {}
  ~YcRxDictionaryWalker() { delete mpIter; }
  YcRxDictionaryWalker(const YcRxDictionaryWalker&) = delete;
  YcRxDictionaryWalker& operator=(const YcRxDictionaryWalker&) = delete;

  YcRxObject* go(Arg arg) const {
    if (!mpIter) return nullptr;
    while (!mpIter->done()) {
      YcRxObject* value = mpIter->object();
      if (value && mFunctor(value, arg)) return value;
      if (!mpIter->next()) return nullptr;
    }
    return nullptr;
  }

  Functor& functor() { return mFunctor; }

private:
  Dict* mpDict;
  YcRxDictionaryIterator* mpIter;
  mutable Functor mFunctor;
};
