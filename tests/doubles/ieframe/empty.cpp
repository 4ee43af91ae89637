// Double of ieframe.dll without any function that the product asks for.

#include <windows.h>

extern "C" {

/// Tells this library from Wine's own.
__declspec(dllexport) BOOL IsEmptyIeFrame() { return TRUE; }

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }
}
