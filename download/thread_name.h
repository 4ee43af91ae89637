#pragma once

/// Names the calling thread for debuggers. Has no effect without one.
void NameCurrentThread(const char* name);
