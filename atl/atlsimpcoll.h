#pragma once

#include <atlexcept.h>

#include <climits>
#include <cstdlib>
#include <memory>

namespace ATL {

// NOLINTBEGIN(cppcoreguidelines-no-malloc): the buffer is raw memory

/// Array for small numbers of elements.
template <class T>
class CSimpleArray {
 public:
  CSimpleArray() noexcept = default;
  CSimpleArray(const CSimpleArray&) = delete;
  CSimpleArray& operator=(const CSimpleArray&) = delete;
  ~CSimpleArray() { RemoveAll(); }

  int GetSize() const noexcept { return m_nSize; }

  /// FALSE when out of memory. `t` may be an element of this array.
  BOOL Add(const T& t) {
    if (m_nSize < m_nAllocSize) {
      std::construct_at(m_aT + m_nSize, t);
      ++m_nSize;
      return TRUE;
    }
    if (m_nAllocSize > INT_MAX / 2) {
      return FALSE;
    }
    const int nNewAlloc = m_nAllocSize == 0 ? 1 : m_nAllocSize * 2;
    Block block(static_cast<T*>(std::malloc(static_cast<size_t>(nNewAlloc) * sizeof(T))));
    if (!block) {
      return FALSE;
    }
    // Copied first: `t` may be an element, which the next line moves.
    std::construct_at(block.get() + m_nSize, t);
    std::uninitialized_move_n(m_aT, m_nSize, block.get());
    const int nNewSize = m_nSize + 1;
    RemoveAll();
    m_aT = block.release();
    m_nSize = nNewSize;
    m_nAllocSize = nNewAlloc;
    return TRUE;
  }

  void RemoveAll() noexcept {
    std::destroy_n(m_aT, m_nSize);
    std::free(m_aT);
    m_aT = nullptr;
    m_nSize = 0;
    m_nAllocSize = 0;
  }

  /// Throw CAtlException(E_INVALIDARG) for an index outside the array.
  T& operator[](int nIndex) { return m_aT[CheckedIndex(nIndex)]; }
  const T& operator[](int nIndex) const { return m_aT[CheckedIndex(nIndex)]; }

 private:
  struct Freed {
    void operator()(T* p) const noexcept { std::free(p); }
  };
  using Block = std::unique_ptr<T, Freed>;

  int CheckedIndex(int nIndex) const {
    if (nIndex < 0 || nIndex >= m_nSize) {
      AtlThrow(E_INVALIDARG);
    }
    return nIndex;
  }

  T* m_aT = nullptr;
  int m_nSize = 0;
  int m_nAllocSize = 0;
};

// NOLINTEND(cppcoreguidelines-no-malloc)

}  // namespace ATL
