// What the machine and the process say about themselves.
#pragma once

#include <cstdint>

// Number of processors online, at least 1.
unsigned int BX_GetCPUCount();

// Processor time that the process has used, all threads together: clock() x 1000 / 100, modulo 2^32, which is ten a
// microsecond here. It is no wall clock: it stands still while the process sleeps and runs faster with more threads.
// Only differences and ratios of readings mean anything.
std::uint32_t MyGetTickCount();
