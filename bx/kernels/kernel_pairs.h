// Where four cells begin and end.
// Part of kernel_loops.h: internal linkage, no standard function.
//
// In mirrored pairs the ends have changed their signs, so that "more to the right" is "more inside" for begins and
// ends, and one comparison serves both.
#pragma once

#include "kernel_vectors.h"

namespace {

inline THalf SplatHalf(double value) {
    return value - THalf{};
}

#if defined(__AVX512F__)

// The begins in the lower half of a register, the ends in the upper one. Comparisons of wide registers fill mask
// registers, which the compiler's own vectors do not use.
typedef TDoubles TPairs;
typedef TInts TPlaces;
typedef __mmask8 TFlags;

inline TPairs Pairs(THalf begins, THalf ends) {
    return _mm512_insertf64x4(_mm512_castpd256_pd512(begins), ends, 1);
}
inline THalf Begin(TPairs pairs) {
    return _mm512_castpd512_pd256(pairs);
}
inline THalf End(TPairs pairs) {
    return _mm512_extractf64x4_pd(pairs, 1);
}
inline TPairs AllPairs(double value) {
    return Splat(value);
}
inline TPairs Mirrored(TPairs pairs) {
    constexpr long long kSign = static_cast<long long>(1ULL << 63);
    return reinterpret_cast<TPairs>(reinterpret_cast<TMask>(pairs) ^ TMask{0, 0, 0, 0, kSign, kSign, kSign, kSign});
}
// Of mirrored pairs: the ends in the place of the begins and the begins in that of the ends.
inline TPairs Opposite(TPairs mirrored) {
    return -_mm512_shuffle_f64x2(mirrored, mirrored, 0x4E);
}
inline TPairs RoundedDown(TPairs pairs) {
    return _mm512_roundscale_pd(pairs, _MM_FROUND_TO_ZERO);
}
inline TFlags IsBelow(TPairs a, TPairs b) {
    return _mm512_cmp_pd_mask(a, b, _CMP_LT_OQ);
}
inline TPairs Choose(TFlags flags, TPairs yes, TPairs no) {
    return _mm512_mask_mov_pd(no, flags, yes);
}
inline TFlags Begins() {
    return 0x0F;
}
inline TFlags OfBothHalves(TFlags flags) {
    return static_cast<TFlags>(flags | flags >> 4 | flags << 4);
}
inline unsigned int Bits(TFlags flags) {
    return flags;
}

#else

// Registers that hold four numbers at most: the compiler takes wider comparisons and permutations apart.
typedef long long THalfMask __attribute__((vector_size(kLanes / 2 * sizeof(long long))));
typedef int THalfInts __attribute__((vector_size(kLanes / 2 * sizeof(int))));

struct TPairs {
    THalf begins;
    THalf ends;
};
struct TPlaces {
    THalfInts begins;
    THalfInts ends;
};
struct TFlags {
    THalfMask begins;
    THalfMask ends;
};

inline TPairs Pairs(THalf begins, THalf ends) {
    return {begins, ends};
}
inline THalf Begin(TPairs pairs) {
    return pairs.begins;
}
inline THalf End(TPairs pairs) {
    return pairs.ends;
}
inline TPairs AllPairs(double value) {
    return {SplatHalf(value), SplatHalf(value)};
}
inline TPairs operator+(TPairs a, TPairs b) {
    return {a.begins + b.begins, a.ends + b.ends};
}
inline TPairs operator-(TPairs a, TPairs b) {
    return {a.begins - b.begins, a.ends - b.ends};
}
inline TPairs operator*(TPairs a, TPairs b) {
    return {a.begins * b.begins, a.ends * b.ends};
}
inline TPairs operator+(TPairs a, double b) {
    return a + AllPairs(b);
}
inline TPairs operator*(TPairs a, double b) {
    return a * AllPairs(b);
}
inline TPairs operator*(double a, TPairs b) {
    return AllPairs(a) * b;
}
inline TPairs Mirrored(TPairs pairs) {
    return {pairs.begins, -pairs.ends};
}
// Of mirrored pairs: the ends in the place of the begins and the begins in that of the ends.
inline TPairs Opposite(TPairs mirrored) {
    return {-mirrored.ends, -mirrored.begins};
}
inline TPlaces ToInts(TPairs a) {
    return {__builtin_convertvector(a.begins, THalfInts), __builtin_convertvector(a.ends, THalfInts)};
}
inline TPairs ToDoubles(TPlaces a) {
    return {__builtin_convertvector(a.begins, THalf), __builtin_convertvector(a.ends, THalf)};
}
inline TPairs RoundedDown(TPairs pairs) {
    return ToDoubles(ToInts(pairs));
}
inline TFlags IsBelow(TPairs a, TPairs b) {
    return {a.begins < b.begins, a.ends < b.ends};
}
inline TPairs Choose(TFlags flags, TPairs yes, TPairs no) {
    return {flags.begins ? yes.begins : no.begins, flags.ends ? yes.ends : no.ends};
}
inline TPairs Smaller(TPairs a, TPairs b) {
    return Choose(IsBelow(a, b), a, b);
}
inline TPairs Larger(TPairs a, TPairs b) {
    return Choose(IsBelow(b, a), a, b);
}
inline TFlags operator|(TFlags a, TFlags b) {
    return {a.begins | b.begins, a.ends | b.ends};
}
inline TFlags operator&(TFlags a, TFlags b) {
    return {a.begins & b.begins, a.ends & b.ends};
}
inline TFlags operator~(TFlags a) {
    return {~a.begins, ~a.ends};
}
inline TFlags& operator|=(TFlags& a, TFlags b) {
    return a = a | b;
}
inline TFlags& operator&=(TFlags& a, TFlags b) {
    return a = a & b;
}
inline TFlags Begins() {
    return {~THalfMask{}, THalfMask{}};
}
inline TFlags OfBothHalves(TFlags flags) {
    return {flags.begins | flags.ends, flags.begins | flags.ends};
}
inline unsigned int BitsOfHalf(THalfMask mask) {
#if defined(__AVX2__)
    return static_cast<unsigned int>(_mm256_movemask_pd(reinterpret_cast<__m256d>(mask)));
#else
    const THalfMask bits = mask & THalfMask{1, 2, 4, 8};
    return static_cast<unsigned int>(bits[0] | bits[1] | bits[2] | bits[3]);
#endif
}
// Bit i is the flag of the begin of cell i, bit 4 + i that of its end.
inline unsigned int Bits(TFlags flags) {
    return BitsOfHalf(flags.begins) | BitsOfHalf(flags.ends) << 4;
}
inline THalf LoadHalfAt(const double* from, THalfInts places) {
    return THalf{from[places[0]], from[places[1]], from[places[2]], from[places[3]]};
}
inline TPairs LoadPairs(const double* from, TPlaces places) {
    return {LoadHalfAt(from, places.begins), LoadHalfAt(from, places.ends)};
}

#endif

// From the begins to the ends.
inline THalf Between(TPairs pairs) {
    return End(pairs) - Begin(pairs);
}

}  // namespace
