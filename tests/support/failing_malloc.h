#pragma once

/// While one lives, malloc fails for blocks of at least `smallest` bytes.
class CFailingMalloc {
 public:
  explicit CFailingMalloc(unsigned long long smallest);
  ~CFailingMalloc();
  CFailingMalloc(const CFailingMalloc&) = delete;
  CFailingMalloc& operator=(const CFailingMalloc&) = delete;
};
