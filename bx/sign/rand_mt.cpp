#include "rand_mt.h"

namespace {

constexpr int kWords = 624;
constexpr int kShift = 397;

std::uint32_t Temper(std::uint32_t y) {
    y ^= y >> 11;
    y ^= (y << 7) & 0x9D2C5680U;
    y ^= (y << 15) & 0xEFC60000U;
    return y ^ (y >> 18);
}

std::uint32_t Twist(std::uint32_t far, std::uint32_t current, std::uint32_t following) {
    const std::uint32_t mixed = (current & 0x80000000U) | (following & 0x7FFFFFFFU);
    return far ^ (mixed >> 1) ^ ((following & 1U) != 0 ? 0x9908B0DFU : 0U);
}

}  // namespace

void RandMT::seedMT(unsigned long s) {
    seed = static_cast<std::uint32_t>(s);
    left = 0;
    next = state;
    std::uint32_t x = seed | 1U;
    for (int i = 0; i < kWords; ++i) {
        state[i] = x;
        x *= 69069U;
    }
    state[kWords] = 0;
}

std::uint32_t RandMT::reloadMT() {
    if (left < -1) {
        seedMT(seed);
    }
    left = kWords - 1;
    next = state + 1;
    for (int i = 0; i < kWords; ++i) {
        state[i] = Twist(state[(i + kShift) % kWords], state[i], state[(i + 1) % kWords]);
    }
    return Temper(state[0]);
}

std::uint32_t RandMT::randomMT() {
    if (--left < 0) {
        return reloadMT();
    }
    return Temper(*next++);
}
