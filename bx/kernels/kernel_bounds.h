// The loops that prepare a picture for searches.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include <cstddef>

#include "kernel_vectors.h"
#include "kernels.h"

namespace {

#if defined(__AVX512VBMI__)

// Where the bytes of a component of 64 pixels stand in the first two of three registers, and in the third.
struct SPlaces {
    alignas(64) unsigned char inFirstTwo[64];
    alignas(64) unsigned char inThird[64];
    unsigned long long third;  // which of them stand there
};

constexpr SPlaces MakePlaces(int component) {
    SPlaces places{};
    for (int i = 0; i < 64; ++i) {
        const int place = 3 * i + component;
        places.inFirstTwo[i] = static_cast<unsigned char>(place & 127);
        places.inThird[i] = static_cast<unsigned char>(place & 63);
        places.third |= place >= 128 ? 1ULL << i : 0;
    }
    return places;
}
constexpr SPlaces kPlaces[3] = {MakePlaces(0), MakePlaces(1), MakePlaces(2)};

#endif

void Split3(unsigned char* __restrict first, unsigned char* __restrict second, unsigned char* __restrict third,
            const unsigned char* __restrict in, std::size_t count) {
    std::size_t i = 0;
#if defined(__AVX512VBMI__)
    unsigned char* const outs[3] = {first, second, third};
    for (; i + 64 <= count; i += 64) {
        const __m512i a = _mm512_loadu_si512(in + 3 * i);
        const __m512i b = _mm512_loadu_si512(in + 3 * i + 64);
        const __m512i c = _mm512_loadu_si512(in + 3 * i + 128);
        for (int component = 0; component < 3; ++component) {
            const SPlaces& places = kPlaces[component];
            const __m512i two = _mm512_permutex2var_epi8(a, _mm512_load_si512(places.inFirstTwo), b);
            const __m512i all = _mm512_mask_permutexvar_epi8(two, places.third, _mm512_load_si512(places.inThird), c);
            _mm512_storeu_si512(outs[component] + i, all);
        }
    }
#endif
    for (; i < count; ++i) {
        first[i] = in[3 * i];
        second[i] = in[3 * i + 1];
        third[i] = in[3 * i + 2];
    }
}

void AddBytes(unsigned short* __restrict out, const unsigned char* a, const unsigned char* b, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<unsigned short>(a[i] + b[i]);
    }
}

inline unsigned short Larger(unsigned short a, unsigned short b) {
    return a > b ? a : b;
}
inline unsigned short Smaller(unsigned short a, unsigned short b) {
    return a < b ? a : b;
}

void WidenBounds(const SBxColumnBounds& bounds, const unsigned short* __restrict values,
                 const unsigned short* __restrict below, std::size_t count) {
    unsigned short* __restrict low = bounds.low;
    unsigned short* __restrict high = bounds.high;
    unsigned short* __restrict alongRows = bounds.alongRows;
    unsigned short* __restrict alongColumns = bounds.alongColumns;
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned short here = values[i];
        const unsigned short next = values[i + 1];
        low[i] = Smaller(low[i], here);
        high[i] = Larger(high[i], here);
        const auto apart = static_cast<unsigned short>(Larger(here, next) - Smaller(here, next));
        alongRows[i] = Larger(alongRows[i], apart);
        const auto apartBelow = static_cast<unsigned short>(Larger(here, below[i]) - Smaller(here, below[i]));
        alongColumns[i] = Larger(alongColumns[i], apartBelow);
    }
}

}  // namespace
