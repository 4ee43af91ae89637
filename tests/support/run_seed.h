#pragma once

/// What tests choose at random, they choose by this seed: FOLIVO_TEST_SEED, which ./run test sets
/// and prints, else a new one. The first use prints it too.
unsigned RunSeed();
