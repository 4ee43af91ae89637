#pragma once

#include "bench/support/program.h"

/// Whole transfers by the product's dialog and by its peers in turns: arguments URL FILE SIZE
/// ROUNDS SECONDS. The URL ends with a query. Prints, for each round, a line "NAME SECONDS" for
/// each of them. Begins no further round after so many seconds, two rounds excepted. Gives the
/// number of rounds.
double MeasureTransfers(const CArguments& arguments);
