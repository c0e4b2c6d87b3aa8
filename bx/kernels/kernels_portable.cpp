#include "kernel_loops.h"

extern const SBxKernels kKernelsPortable;
constinit const SBxKernels kKernelsPortable = MakeKernels("portable");
