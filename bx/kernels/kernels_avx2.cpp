#include "kernel_loops.h"

extern const SBxKernels kKernelsAvx2;
constinit const SBxKernels kKernelsAvx2 = MakeKernels("avx2");
