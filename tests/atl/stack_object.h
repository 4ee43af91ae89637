#pragma once

#include <gtest/gtest.h>
#include <unknwn.h>

/// Implements IUnknown for an object on the stack, which implements `Interfaces`. The destructor
/// fails the test when references to the object are left.
template <class... Interfaces>
class CStackObject : public Interfaces... {
 public:
  CStackObject() = default;
  CStackObject(const CStackObject&) = delete;
  CStackObject& operator=(const CStackObject&) = delete;
  virtual ~CStackObject() { EXPECT_EQ(0U, m_references) << "references left behind"; }

  ULONG References() const { return m_references; }

  STDMETHOD(QueryInterface)(REFIID iid, void** ppv) override {
    *ppv = nullptr;
    const bool found = (((iid == IID_IUnknown || iid == __uuidof(Interfaces)) &&
                         (*ppv = static_cast<Interfaces*>(this)) != nullptr) ||
                        ...);
    return found ? (AddRef(), S_OK) : E_NOINTERFACE;
  }
  STDMETHOD_(ULONG, AddRef)() override { return ++m_references; }
  STDMETHOD_(ULONG, Release)() override { return --m_references; }

 private:
  ULONG m_references = 0;
};
