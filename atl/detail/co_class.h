#pragma once

#include "class_factory.h"

namespace ATL {

/// Base of a class that can be created from outside under *pclsid: alone or inside another object,
/// by a factory that lives in the object map, which is why its own reference does not count as a
/// lock.
template <class T, const CLSID* pclsid>
class CComCoClass {
 public:
  using _ClassFactoryCreatorClass = CComCreator<CComObjectCached<CComClassFactory>>;
  using _CreatorClass = CComCreator2<CComCreator<CComObject<T>>, CComCreator<CComAggObject<T>>>;

  static const CLSID& WINAPI GetObjectCLSID() { return *pclsid; }
};

}  // namespace ATL
