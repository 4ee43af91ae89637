#include "bench/support/program.h"

#include <cstdio>

int RunMeasurement(int argc, wchar_t** argv,
                   const std::map<std::wstring, CMeasurement>& measurements) {
  const CArguments arguments(argv + (argc > 1 ? 2 : argc), argv + argc);
  const auto found = measurements.find(argc > 1 ? argv[1] : L"");
  if (found == measurements.end() || arguments.size() != found->second.argumentCount) {
    std::fputs("unknown mode, or a wrong number of arguments\n", stderr);
    return 2;
  }
  try {
    std::printf("%.9g\n", found->second.run(arguments));
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
