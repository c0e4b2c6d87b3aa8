#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "pic_buf_api.h"
#include "pic_format.h"
#include "row_walk.h"

namespace {

// A source whose rows can be reached in steps, whatever its component type.
struct SSource {
    const unsigned char* pixels;
    std::int64_t stride;

    template <typename T>
    const T* Row(std::int64_t row) const {
        return reinterpret_cast<const T*>(pixels + row * stride);
    }
};

// Calls Sampler::Sample(target pixel, source, u, v) for every destination pixel that has a valid source position.
template <typename Sampler>
void WalkExact(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    using T = typename Sampler::Component;
    const SSource source{src.m_pData, src.m_iStride};
    CBxRowWalk walk(dst, src, map, Sampler::kReach);
    for (int y = 0; y < dst.m_iHeight; ++y, walk.NextRow()) {
        const SBxRun run = walk.ExactRun();
        T* to = BX_PicRow<T>(dst, y) + static_cast<std::int64_t>(run.first) * Sampler::kComponents;
        for (int start = run.first; start < run.last;) {
            const int count = std::min(run.last - start, CBxRowWalk::kMostAddedSteps);
            double u = walk.X().At(start);
            double v = walk.Y().At(start);
            for (int column = 0; column < count; ++column, to += Sampler::kComponents) {
                Sampler::Sample(to, source, u, v);
                u += walk.X().step;
                v += walk.Y().step;
            }
            start += count;
        }
    }
}

template <typename T, int components>
struct SConstant {
    using Component = T;
    static constexpr int kComponents = components;
    static constexpr SBxReach kReach = kConstantReach;

    static void Sample(T* to, const SSource& source, double u, double v) {
        const T* from = source.Row<T>(static_cast<std::int64_t>(v)) + static_cast<std::int64_t>(u) * components;
        for (int c = 0; c < components; ++c) {
            to[c] = from[c];
        }
    }
};

template <typename T, int components>
struct SBilinear {
    using Component = T;
    static constexpr int kComponents = components;
    static constexpr SBxReach kReach = kBilinearReach;

    static void Sample(T* to, const SSource& source, double u, double v) {
        const double p = u - kReach.shift;
        const double q = v - kReach.shift;
        const std::int64_t i = static_cast<std::int64_t>(p);
        const std::int64_t j = static_cast<std::int64_t>(q);
        const double fx = p - static_cast<double>(i);
        const double fy = q - static_cast<double>(j);
        const T* top = source.Row<T>(j) + i * components;
        const T* bottom = source.Row<T>(j + 1) + i * components;
        for (int c = 0; c < components; ++c) {
            const double above = (1.0 - fx) * top[c] + fx * top[c + components];
            const double below = (1.0 - fx) * bottom[c] + fx * bottom[c + components];
            // Doubles get the half as well: users of double pictures count on that bias.
            to[c] = static_cast<T>((1.0 - fy) * above + fy * below + 0.5);
        }
    }
};

// Twice the weights of the cubic convolution with parameter -0.5; they sum to 2.
struct SCubicWeights {
    double w[4];

    explicit SCubicWeights(double t) {
        const double t2 = t * t;
        const double t3 = t2 * t;
        w[0] = -t3 + 2.0 * t2 - t;
        w[1] = 3.0 * t3 - 5.0 * t2 + 2.0;
        w[2] = -3.0 * t3 + 4.0 * t2 + t;
        w[3] = t3 - t2;
    }
};

template <typename T, int components>
struct SBicubic {
    using Component = T;
    static constexpr int kComponents = components;
    static constexpr SBxReach kReach = kBicubicReach;

    static void Sample(T* to, const SSource& source, double u, double v) {
        const double p = u - kReach.shift;
        const double q = v - kReach.shift;
        const std::int64_t i = static_cast<std::int64_t>(p);
        const std::int64_t j = static_cast<std::int64_t>(q);
        const SCubicWeights across(p - static_cast<double>(i));
        const SCubicWeights down(q - static_cast<double>(j));
        for (int c = 0; c < components; ++c) {
            double sum = 0.0;
            for (int row = 0; row < 4; ++row) {
                const T* from = source.Row<T>(j + row) + i * components + c;
                double rowSum = 0.0;
                for (int tap = 0; tap < 4; ++tap) {
                    rowSum += across.w[tap] * from[tap * components];
                }
                sum += down.w[row] * rowSum;
            }
            to[c] = Stored(0.25 * sum);
        }
    }

private:
    // Overshoot is cut off in bytes; doubles are stored as they are, without the half.
    static T Stored(double value) {
        if constexpr (std::is_floating_point_v<T>) {
            return value;
        } else {
            return static_cast<T>(std::clamp(static_cast<int>(value + 0.5), 0, 255));
        }
    }
};

template <typename T, int components>
void Constant(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    if (!BX_IsTooSmall(src, kConstantReach)) {
        WalkExact<SConstant<T, components>>(dst, src, map);
    }
}

template <typename T, int components>
void Bilinear(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    if (BX_IsTooSmall(src, kBilinearReach)) {
        return Constant<T, components>(dst, src, map);
    }
    WalkExact<SBilinear<T, components>>(dst, src, map);
}

template <typename T, int components>
void Bicubic(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    if (BX_IsTooSmall(src, kBicubicReach)) {
        return Bilinear<T, components>(dst, src, map);
    }
    WalkExact<SBicubic<T, components>>(dst, src, map);
}

}  // namespace

void CBxPicBufAPI::TransformConstant1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    Constant<std::uint8_t, 1>(dst, src, map);
}

void CBxPicBufAPI::TransformConstant3_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    Constant<std::uint8_t, 3>(dst, src, map);
}

void CBxPicBufAPI::TransformConstant1_D(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    Constant<double, 1>(dst, src, map);
}

void CBxPicBufAPI::TransformConstant(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    switch (BX_CommonFormat(dst, src)) {
        case EBxFormat::k1_8:
            return TransformConstant1_8(dst, src, map);
        case EBxFormat::k3_8:
            return TransformConstant3_8(dst, src, map);
        case EBxFormat::k1_D:
            return TransformConstant1_D(dst, src, map);
        default:
            return;
    }
}

void CBxPicBufAPI::TransformBilinear1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    Bilinear<std::uint8_t, 1>(dst, src, map);
}

void CBxPicBufAPI::TransformBilinear3_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    Bilinear<std::uint8_t, 3>(dst, src, map);
}

void CBxPicBufAPI::TransformBilinear1_D(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    Bilinear<double, 1>(dst, src, map);
}

void CBxPicBufAPI::TransformBilinear(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    switch (BX_CommonFormat(dst, src)) {
        case EBxFormat::k1_8:
            return TransformBilinear1_8(dst, src, map);
        case EBxFormat::k3_8:
            return TransformBilinear3_8(dst, src, map);
        case EBxFormat::k1_D:
            return TransformBilinear1_D(dst, src, map);
        default:
            return;
    }
}

void CBxPicBufAPI::TransformBicubic1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    Bicubic<std::uint8_t, 1>(dst, src, map);
}

void CBxPicBufAPI::TransformBicubic3_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    Bicubic<std::uint8_t, 3>(dst, src, map);
}

void CBxPicBufAPI::TransformBicubic1_D(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    Bicubic<double, 1>(dst, src, map);
}

void CBxPicBufAPI::TransformBicubic(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map) {
    switch (BX_CommonFormat(dst, src)) {
        case EBxFormat::k1_8:
            return TransformBicubic1_8(dst, src, map);
        case EBxFormat::k3_8:
            return TransformBicubic3_8(dst, src, map);
        case EBxFormat::k1_D:
            return TransformBicubic1_D(dst, src, map);
        default:
            return;
    }
}
