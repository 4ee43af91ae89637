#pragma once

#include "module_types.h"

#include <atomic>

namespace ATL {

/// What the module keeps per class while it runs.
struct _ATL_OBJMAP_CACHE {
  /// The class factory once somebody has asked for it; one reference is the cache's own. Written
  /// under the object map's lock and only when the factory is complete, so readers need none.
  std::atomic<IUnknown*> pCF;
};

/// One class of the module.
struct _ATL_OBJMAP_ENTRY_EX {
  const CLSID* pclsid;
  HRESULT(WINAPI* pfnUpdateRegistry)(BOOL bRegister);
  _ATL_CREATORFUNC* pfnGetClassObject;
  _ATL_CREATORFUNC* pfnCreateInstance;
  _ATL_OBJMAP_CACHE* pCache;
  _ATL_CATMAPFUNC* pfnGetCategoryMap;
};

namespace detail {

/// Enters a class in the module's object map: in the order of definition within a source file, and
/// in link order between files. Entries are static and stay for the life of the module, so there
/// is no destructor: the factories are released after static objects of other files have gone.
class CObjectMapNode {
 public:
  explicit CObjectMapNode(const _ATL_OBJMAP_ENTRY_EX& entry) noexcept : m_entry(entry) {
    (s_pLast != nullptr ? s_pLast->m_pNext : s_pFirst) = this;
    s_pLast = this;
  }
  CObjectMapNode(const CObjectMapNode&) = delete;
  CObjectMapNode& operator=(const CObjectMapNode&) = delete;

  static CObjectMapNode* First() noexcept { return s_pFirst; }
  CObjectMapNode* Next() const noexcept { return m_pNext; }
  const _ATL_OBJMAP_ENTRY_EX& Entry() const noexcept { return m_entry; }

 private:
  // Constant-initialised, hence ready for the first node whichever file is initialised first.
  static inline constinit CObjectMapNode* s_pFirst = nullptr;
  static inline constinit CObjectMapNode* s_pLast = nullptr;

  const _ATL_OBJMAP_ENTRY_EX& m_entry;
  CObjectMapNode* m_pNext = nullptr;
};

}  // namespace detail
}  // namespace ATL

/// At file scope: makes `class` createable from outside under `clsid`, and registered with the
/// module.
#define OBJECT_ENTRY_AUTO(clsid, class)                         \
  static ATL::_ATL_OBJMAP_CACHE __objCache_##class = {nullptr}; \
  static const ATL::_ATL_OBJMAP_ENTRY_EX __objMap_##class = {   \
      &clsid,                                                   \
      class ::UpdateRegistry,                                   \
      class ::_ClassFactoryCreatorClass::CreateInstance,        \
      class ::_CreatorClass::CreateInstance,                    \
      &__objCache_##class,                                      \
      class ::GetCategoryMap};                                  \
  static ATL::detail::CObjectMapNode __objNode_##class(__objMap_##class);
