// The Mersenne twister MT19937 (Matsumoto and Nishimura, 1998) with the multiplicative seeding 69069 of its first
// published version, in which seeds that differ only in their lowest bit give the same sequence.
#pragma once

#include <cstdint>

class RandMT {
public:
    RandMT() { seedMT(1); }
    explicit RandMT(unsigned long s) { seedMT(s); }
    RandMT(const RandMT&) = delete;
    RandMT& operator=(const RandMT&) = delete;

    // NOLINTBEGIN(readability-identifier-naming): small letters, as in formulas
    void seedMT(unsigned long s);
    // Makes the next 624 words and returns the first of them.
    std::uint32_t reloadMT();
    std::uint32_t randomMT();

private:
    std::uint32_t state[625];  // 624 words and one to spare
    std::uint32_t* next;
    std::uint32_t seed;  // the last seed given
    std::int32_t left;   // words left before the next reload
    // NOLINTEND(readability-identifier-naming)
};
