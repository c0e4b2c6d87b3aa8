// Vectors of eight numbers for the loops that the compiler does not widen by itself.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include <cstddef>

#include "kernels.h"

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace {

// Eight numbers side by side; the compiler splits them where the registers are narrower.
constexpr int kLanes = 8;
// Samples in a group.
constexpr std::size_t kWide = SBxKernels::kGroup;
typedef double TDoubles __attribute__((vector_size(kLanes * sizeof(double))));
typedef long long TMask __attribute__((vector_size(kLanes * sizeof(long long))));
typedef float TFloats __attribute__((vector_size(kLanes * sizeof(float))));
typedef int TInts __attribute__((vector_size(kLanes * sizeof(int))));
// Half as many.
typedef double THalf __attribute__((vector_size(kLanes / 2 * sizeof(double))));

template <typename Vector, typename Number>
inline Vector Load(const Number* from) {
    Vector value;
    __builtin_memcpy(&value, from, sizeof value);
    return value;
}
template <typename Vector, typename Number>
inline void Store(Number* to, Vector value) {
    __builtin_memcpy(to, &value, sizeof value);
}
inline TDoubles Splat(double value) {
    return value - TDoubles{};
}
inline TDoubles Larger(TDoubles a, TDoubles b) {
    return a > b ? a : b;
}
inline TDoubles Smaller(TDoubles a, TDoubles b) {
    return a < b ? a : b;
}
#if defined(__AVX512F__)
// Conversions by the instructions' own names: the compiler takes them apart otherwise.
inline TDoubles ToDoubles(TInts a) {
    return _mm512_cvtepi32_pd(reinterpret_cast<__m256i>(a));
}
inline TInts ToInts(TDoubles a) {
    return reinterpret_cast<TInts>(_mm512_cvttpd_epi32(a));
}
#else
inline TDoubles ToDoubles(TInts a) {
    return __builtin_convertvector(a, TDoubles);
}
inline TInts ToInts(TDoubles a) {
    return __builtin_convertvector(a, TInts);
}
#endif

}  // namespace
