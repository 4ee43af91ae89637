#pragma once

#include <atlbase.h>
#include <atlcom.h>

#include "test_types_h.h"

/// The module object of this test program. Its type library is the one for the tests.
class CAtlTestModule : public ATL::CAtlDllModuleT<CAtlTestModule> {
 public:
  DECLARE_LIBID(LIBID_AtlComTestTypes)
};

/// The one object; ATL::_pAtlModule points to it.
CAtlTestModule& TestModule();

/// Checks that a scope leaves as many module locks as it found.
class CLockBalance {
 public:
  CLockBalance() : m_before(TestModule().GetLockCount()) {}
  CLockBalance(const CLockBalance&) = delete;
  CLockBalance& operator=(const CLockBalance&) = delete;
  ~CLockBalance();

  /// How many locks have come since.
  LONG Gained() const { return TestModule().GetLockCount() - m_before; }

 private:
  const LONG m_before;
};
