#include "tests/faults/full_disk.h"

namespace {

constexpr DWORD kSmallWrite = 1000;

int g_writes;
int g_failing;
decltype(&WriteFile) g_write;

BOOL WINAPI WriteUntilFull(HANDLE file, LPCVOID data, DWORD size, LPDWORD written,
                           LPOVERLAPPED overlapped) {
  if (size > kSmallWrite && ++g_writes == g_failing) {
    *written = 0;
    SetLastError(ERROR_DISK_FULL);
    return FALSE;
  }
  return g_write(file, data, size, written, overlapped);
}

}  // namespace

CFullDisk::CFullDisk(int failing) : m_patch("kernel32.dll", "WriteFile", &WriteUntilFull) {
  g_writes = 0;
  g_failing = failing;
  g_write = m_patch.Original<decltype(WriteFile)>();
}

int CFullDisk::Writes() const { return g_writes; }
