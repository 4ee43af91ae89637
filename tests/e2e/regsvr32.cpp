#include "tests/e2e/regsvr32.h"

#include "tests/plugin/plugin_library.h"
#include "tests/tools/tool_process.h"

DWORD RunRegsvr32(const std::wstring& options) {
  wchar_t system[MAX_PATH] = {};
  GetSystemDirectoryW(system, MAX_PATH);
  CToolProcess process(std::wstring(system) + L"\\regsvr32.exe",
                       options + L" \"" + CPluginLibrary::BuiltPath() + L"\"");
  return process.WaitForExit();
}
