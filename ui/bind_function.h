#pragma once

#include <windows.h>

#include <bit>

/// Looks a function up in a loaded library; null when the library lacks it.
template <typename Function>
void BindFunction(HMODULE library, const char* name, Function& function) {
  function = std::bit_cast<Function>(GetProcAddress(library, name));
}
