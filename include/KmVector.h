// A small growable vector of values (copied by assignment).
#pragma once
#include "YcArray.h"

template <typename T>
class KmVector : public YcArray<T, YcArrayObjectCopyReallocator<T>> {
public:
  explicit KmVector(int physicalLength = 0, int growLength = 8)
      : YcArray<T, YcArrayObjectCopyReallocator<T>>(physicalLength, growLength) {}
};
