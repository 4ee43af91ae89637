#pragma once

#include "bench/support/program.h"

// Events for a link that is none of the product's, which is what a helper object gets nearly all
// the time.

/// The time of one event: arguments DLL MINIMAL_DLL ROUNDS. Prints, for each round, a line
/// "NAME SECONDS" for "plugin", for "minimal" and for "required": the calls of the system that the
/// product has to make under an event, and nothing else. Gives the number of rounds.
double MeasureOtherLinks(const CArguments& arguments);

/// The calls of imported functions under such events: arguments DLL COUNT. Prints a line
/// "LIBRARY FUNCTION CALLS" for each function and gives the sum.
double CountCalls(const CArguments& arguments);
