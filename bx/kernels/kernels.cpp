#include "kernels.h"

#include <atomic>

extern const SBxKernels kKernelsPortable;
#if defined(VERIDANE_X86_KERNELS)
extern const SBxKernels kKernelsAvx2;
extern const SBxKernels kKernelsAvx512;
#endif

namespace {

const SBxKernels* Widest() {
    for (const EBxKernelForm form : {EBxKernelForm::Avx512, EBxKernelForm::Avx2}) {
        if (const SBxKernels* kernels = BX_KernelsOfForm(form)) {
            return kernels;
        }
    }
    return &kKernelsPortable;
}

std::atomic<const SBxKernels*> g_pInUse{nullptr};

}  // namespace

const SBxKernels* BX_KernelsOfForm(EBxKernelForm form) {
#if defined(VERIDANE_X86_KERNELS)
    if (form == EBxKernelForm::Avx512) {
        const bool runs = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                          __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl") &&
                          __builtin_cpu_supports("avx512vbmi");
        return runs ? &kKernelsAvx512 : nullptr;
    }
    if (form == EBxKernelForm::Avx2) {
        return __builtin_cpu_supports("avx2") ? &kKernelsAvx2 : nullptr;
    }
#endif
    return form == EBxKernelForm::Portable ? &kKernelsPortable : nullptr;
}

const SBxKernels& BX_Kernels() {
    const SBxKernels* kernels = g_pInUse.load(std::memory_order_relaxed);
    if (kernels == nullptr) {
        kernels = Widest();
        g_pInUse.store(kernels, std::memory_order_relaxed);
    }
    return *kernels;
}

bool BX_SelectKernelForm(EBxKernelForm form) {
    const SBxKernels* kernels = BX_KernelsOfForm(form);
    if (kernels != nullptr) {
        g_pInUse.store(kernels, std::memory_order_relaxed);
    }
    return kernels != nullptr;
}
