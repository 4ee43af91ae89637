#pragma once

#include <windows.h>

#include <bit>

/// Sets `function` to the address of `name` in a loaded library; null when the library does not
/// export it.
template <typename Function>
void BindFunction(HMODULE library, const char* name, Function& function) {
  function = std::bit_cast<Function>(GetProcAddress(library, name));
}
