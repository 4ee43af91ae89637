#pragma once

#include <windows.h>

/// A zero-filled `T` in memory from GlobalAlloc, locked while this object lives, as the unzip
/// library's interface requires for its arguments. More zeros follow it: later versions of the
/// interface have longer structures, and a library of such a version accesses memory behind this
/// one. Converts to false when the allocation failed.
template <typename T>
class CGlobalBlock {
 public:
  CGlobalBlock()
      : m_handle(GlobalAlloc(GMEM_ZEROINIT, sizeof(T) + kRoomBehind)),
        m_block(m_handle != nullptr ? static_cast<T*>(GlobalLock(m_handle)) : nullptr) {}
  ~CGlobalBlock() {
    if (m_block != nullptr) {
      GlobalUnlock(m_handle);
    }
    if (m_handle != nullptr) {
      GlobalFree(m_handle);
    }
  }
  CGlobalBlock(const CGlobalBlock&) = delete;
  CGlobalBlock& operator=(const CGlobalBlock&) = delete;

  explicit operator bool() const { return m_block != nullptr; }
  T* Get() const { return m_block; }

 private:
  static constexpr SIZE_T kRoomBehind = 128;

  const HGLOBAL m_handle;
  T* const m_block;
};
