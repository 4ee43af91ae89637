// Reference counting for the host's own COM objects.
#pragma once

#include <unknwn.h>

/// AddRef and Release of an object that implements the given interfaces and lives on the heap. It
/// begins with one reference, which its creator owns; nobody but Release deletes it. All calls come
/// from one apartment's thread.
template <class... Interfaces>
class CRefCounted : public Interfaces... {
 public:
  CRefCounted(const CRefCounted&) = delete;
  CRefCounted& operator=(const CRefCounted&) = delete;
  virtual ~CRefCounted() = default;

  ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --m_references;
    if (left == 0) {
      // The destructor may hand out and take back references: the count must not reach 0 again.
      m_references = kDestroying;
      delete this;
    }
    return left;
  }

 protected:
  CRefCounted() = default;

 private:
  static constexpr ULONG kDestroying = 0x10000;
  ULONG m_references = 1;
};
