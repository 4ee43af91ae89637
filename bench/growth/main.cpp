// The time of what is done once for each file, to be compared between few files and many:
//   bench_growth names FOLDER REPEATS
//   bench_growth listing ARCHIVE COUNT
//   bench_growth adding MANIFEST ARCHIVE FOLDER COUNT

#include "bench/growth/stages.h"

int wmain(int argc, wchar_t** argv) {
  return RunMeasurement(argc, argv,
                        {{L"names", {2, NameUniquely}},
                         {L"listing", {2, ListArchive}},
                         {L"adding", {4, AddManifest}}});
}
