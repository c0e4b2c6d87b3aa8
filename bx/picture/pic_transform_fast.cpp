#include <algorithm>
#include <cstdint>

#include "pic_buf_api.h"
#include "pic_format.h"
#include "row_walk.h"

namespace {

constexpr std::int64_t kFractionMask = 0xFFFF;

// One run of a row: where it begins in the source, in 16.16 fixed point, and how far a column moves.
struct SFixedWalk {
    std::int64_t u;
    std::int64_t v;
    std::int64_t stepU;
    std::int64_t stepV;
    int count;
};

// Calls Sampler::Fill(first target byte, source, walk) for the run of every row. All that Fill reads from the top left
// pixel (u >> 16, v >> 16) over the taps of its reach lies in the source.
template <typename Sampler>
void WalkFast(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    CBxRowWalk walk(dst, src, map, Sampler::kReach);
    for (int y = 0; y < dst.m_iHeight; ++y, walk.NextRow()) {
        const SBxRun run = walk.FixedRun();
        if (run.first >= run.last) {
            continue;
        }
        const SBxFixedAxis x = walk.FixedX();
        const SBxFixedAxis down = walk.FixedY();
        std::uint8_t* to =
            BX_PicRow<std::uint8_t>(dst, y) + static_cast<std::int64_t>(run.first) * Sampler::kComponents;
        Sampler::Fill(to, src, {x.At(run.first), down.At(run.first), x.step, down.step, run.last - run.first});
    }
}

const std::uint8_t* PixelAt(const SBxPicBuf& src, std::int64_t u, std::int64_t v, int components) {
    return src.m_pData + (v >> 16) * src.m_iStride + (u >> 16) * components;
}

template <int components>
struct SConstantFast {
    static constexpr int kComponents = components;
    static constexpr SBxReach kReach = kConstantReach;

    static void Fill(std::uint8_t* to, const SBxPicBuf& source, const SFixedWalk& walk) {
        const SBxPicBuf src = source;  // a copy, so that stores into the target cannot touch it
        std::int64_t u = walk.u;
        std::int64_t v = walk.v;
        for (int column = 0; column < walk.count; ++column, to += components) {
            const std::uint8_t* from = PixelAt(src, u, v, components);
            for (int c = 0; c < components; ++c) {
                to[c] = from[c];
            }
            u += walk.stepU;
            v += walk.stepV;
        }
    }
};

// Two values of up to 24 bits in one word, so that one multiplication mixes both.
constexpr std::uint64_t Pair(std::uint64_t low, std::uint64_t high) {
    return low | (high << 32);
}

constexpr std::uint64_t kHalves = Pair(32768, 32768);
constexpr std::uint64_t kBytes = Pair(0xFF, 0xFF);

// (first x (65536 - fraction) + second x fraction + 32768) >> 16, in both halves. A negative difference borrows from
// the upper half and the sum gives it back, so every bit is that of the separate calculations.
constexpr std::uint64_t Mix(std::uint64_t first, std::uint64_t second, std::uint64_t fraction) {
    return (((first << 16) + (second - first) * fraction + kHalves) >> 16) & kBytes;
}

template <int components>
struct SBilinearFast {
    static constexpr int kComponents = components;
    static constexpr SBxReach kReach = kBilinearReach;

    static void Fill(std::uint8_t* to, const SBxPicBuf& source, const SFixedWalk& walk) {
        const SBxPicBuf src = source;
        const SFixedWalk steps = walk;
        std::int64_t u = steps.u;
        std::int64_t v = steps.v;
        for (int column = 0; column < steps.count; ++column, to += components) {
            Mix2x2(to, PixelAt(src, u, v, components), src.m_iStride, u & kFractionMask, v & kFractionMask);
            u += steps.stepU;
            v += steps.stepV;
        }
    }

private:
    static void Mix2x2(std::uint8_t* to, const std::uint8_t* top, std::int64_t stride, std::uint64_t fx,
                       std::uint64_t fy) {
        const std::uint8_t* bottom = top + stride;
        // The middle component has its two rows side by side, the outer two components stand side by side in each row.
        constexpr int kMiddle = components / 2;
        const std::uint64_t middle =
            Mix(Pair(top[kMiddle], bottom[kMiddle]), Pair(top[kMiddle + components], bottom[kMiddle + components]), fx);
        to[kMiddle] = static_cast<std::uint8_t>(Mix(middle & 0xFF, middle >> 32, fy));
        if constexpr (components == 3) {
            const std::uint64_t above = Mix(Pair(top[0], top[2]), Pair(top[3], top[5]), fx);
            const std::uint64_t below = Mix(Pair(bottom[0], bottom[2]), Pair(bottom[3], bottom[5]), fx);
            const std::uint64_t outer = Mix(above, below, fy);
            to[0] = static_cast<std::uint8_t>(outer);
            to[2] = static_cast<std::uint8_t>(outer >> 32);
        }
    }
};

// Cubic convolution weights for a 16-bit fraction; they sum to 65536.
struct SFixedCubicWeights {
    int w[4];

    explicit SFixedCubicWeights(std::int64_t fraction) {
        const int f = static_cast<int>(fraction >> 1);  // 32768 stands for 1
        const int f2 = (f * f + 16384) >> 15;
        const int f3 = (f2 * f + 16384) >> 15;
        w[0] = 2 * f2 - f3 - f;
        w[1] = 3 * f3 - 5 * f2 + 65536;
        w[2] = 4 * f2 - 3 * f3 + f;
        w[3] = f3 - f2;
    }
};

template <int components>
struct SBicubicFast {
    static constexpr int kComponents = components;
    static constexpr SBxReach kReach = kBicubicReach;

    static void Fill(std::uint8_t* to, const SBxPicBuf& source, const SFixedWalk& walk) {
        const SBxPicBuf src = source;
        const SFixedWalk steps = walk;
        std::int64_t u = steps.u;
        std::int64_t v = steps.v;
        for (int column = 0; column < steps.count; ++column, to += components) {
            Mix4x4(to, PixelAt(src, u, v, components), src.m_iStride, SFixedCubicWeights(u & kFractionMask),
                   SFixedCubicWeights(v & kFractionMask));
            u += steps.stepU;
            v += steps.stepV;
        }
    }

private:
    static void Mix4x4(std::uint8_t* to, const std::uint8_t* from, std::int64_t stride,
                       const SFixedCubicWeights& across, const SFixedCubicWeights& down) {
        int sums[components] = {};
        for (int row = 0; row < 4; ++row, from += stride) {
            for (int c = 0; c < components; ++c) {
                const int rowSum = from[c] * across.w[0] + from[c + components] * across.w[1] +
                                   from[c + 2 * components] * across.w[2] + from[c + 3 * components] * across.w[3];
                sums[c] += ((rowSum + 32768) >> 16) * down.w[row];
            }
        }
        for (int c = 0; c < components; ++c) {
            to[c] = static_cast<std::uint8_t>(std::clamp((sums[c] + 32768) >> 16, 0, 255));
        }
    }
};

template <int components>
void Constant(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    if (!BX_IsTooSmall(src, kConstantReach)) {
        WalkFast<SConstantFast<components>>(dst, src, map);
    }
}

template <int components>
void Bilinear(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    if (BX_IsTooSmall(src, kBilinearReach)) {
        return Constant<components>(dst, src, map);
    }
    WalkFast<SBilinearFast<components>>(dst, src, map);
}

template <int components>
void Bicubic(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    if (BX_IsTooSmall(src, kBicubicReach)) {
        return Bilinear<components>(dst, src, map);
    }
    WalkFast<SBicubicFast<components>>(dst, src, map);
}

}  // namespace

void CBxPicBufAPI::TransformConstantFast1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    Constant<1>(dst, src, map);
}

void CBxPicBufAPI::TransformConstantFast3_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    Constant<3>(dst, src, map);
}

void CBxPicBufAPI::TransformConstantFast(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    switch (BX_CommonFormat(dst, src)) {
        case EBxFormat::k1_8:
            return TransformConstantFast1_8(dst, src, map);
        case EBxFormat::k3_8:
            return TransformConstantFast3_8(dst, src, map);
        default:
            return;
    }
}

void CBxPicBufAPI::TransformBilinearFast1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    Bilinear<1>(dst, src, map);
}

void CBxPicBufAPI::TransformBilinearFast3_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    Bilinear<3>(dst, src, map);
}

void CBxPicBufAPI::TransformBilinearFast(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    switch (BX_CommonFormat(dst, src)) {
        case EBxFormat::k1_8:
            return TransformBilinearFast1_8(dst, src, map);
        case EBxFormat::k3_8:
            return TransformBilinearFast3_8(dst, src, map);
        default:
            return;
    }
}

void CBxPicBufAPI::TransformBicubicFast1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    Bicubic<1>(dst, src, map);
}

void CBxPicBufAPI::TransformBicubicFast3_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    Bicubic<3>(dst, src, map);
}

void CBxPicBufAPI::TransformBicubicFast(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    switch (BX_CommonFormat(dst, src)) {
        case EBxFormat::k1_8:
            return TransformBicubicFast1_8(dst, src, map);
        case EBxFormat::k3_8:
            return TransformBicubicFast3_8(dst, src, map);
        default:
            return;
    }
}
