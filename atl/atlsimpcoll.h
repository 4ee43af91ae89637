#pragma once

#include <atlexcept.h>

#include <vector>

namespace ATL {

/// Array for small numbers of elements.
template <class T>
class CSimpleArray {
 public:
  CSimpleArray() noexcept = default;
  CSimpleArray(const CSimpleArray&) = delete;
  CSimpleArray& operator=(const CSimpleArray&) = delete;
  ~CSimpleArray() = default;

  int GetSize() const noexcept { return static_cast<int>(m_elements.size()); }

  /// FALSE when out of memory. `t` may be an element of this array.
  BOOL Add(const T& t) noexcept {
    return SUCCEEDED(detail::CallGuarded([&] {
      m_elements.push_back(t);
      return S_OK;
    }));
  }

  void RemoveAll() noexcept { m_elements.clear(); }

  /// Throw CAtlException(E_INVALIDARG) for an index outside the array.
  T& operator[](int nIndex) { return m_elements[CheckedIndex(nIndex)]; }
  const T& operator[](int nIndex) const { return m_elements[CheckedIndex(nIndex)]; }

 private:
  size_t CheckedIndex(int nIndex) const {
    ATLENSURE_THROW(nIndex >= 0 && nIndex < GetSize(), E_INVALIDARG);
    return static_cast<size_t>(nIndex);
  }

  std::vector<T> m_elements;
};

}  // namespace ATL
