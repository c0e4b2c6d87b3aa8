#include "kernel_loops.h"

extern const SBxKernels kKernelsAvx512;
constinit const SBxKernels kKernelsAvx512 = MakeKernels("avx512");
