// The module object of the program: each program that links the product's classes needs one.

#include "tests/support/test_module.h"

namespace {

CTestModule g_module;

}  // namespace
