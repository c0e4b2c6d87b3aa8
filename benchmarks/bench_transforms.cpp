// How fast a 12-megapixel photograph is drawn into a view of 1920 x 1080, in view pixels a second on one core.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>

#include "owned_pic.h"

namespace {

constexpr int kViewWidth = 1920;
constexpr int kViewHeight = 1080;

// Slopes with a little noise: smooth enough for the exact and the Fast forms to agree everywhere. Nowhere black.
CBxOwnedPic MakePhotograph() {
    CBxOwnedPic pic;
    if (pic.Allocate(4000, 3000, 3, 8) != 0) {
        return pic;
    }
    std::mt19937 random(12);
    for (int y = 0; y < pic->m_iHeight; ++y) {
        for (int x = 0; x < pic->m_iWidth * 3; ++x) {
            BX_PicRow<std::uint8_t>(pic.Pic(), y)[x] =
                static_cast<std::uint8_t>((x / 40 + y / 20) % 200 + 20 + (random() & 1));
        }
    }
    return pic;
}

using Operation = void (*)(SBxPicBuf&, const SBxPicBuf&, const CBxPicMap&);

// Bytes that were not drawn, or that differ from the expected ones by more than one grey level. A few may: those that
// one of the two walks reaches at the other side of a cell border.
int CountWrong(const SBxPicBuf& drawn, const SBxPicBuf& expected) {
    int wrong = 0;
    for (std::uint32_t i = 0; i < drawn.m_uiByteSize; ++i) {
        wrong += drawn.m_pData[i] == 0 || std::abs(drawn.m_pData[i] - expected.m_pData[i]) > 1 ? 1 : 0;
    }
    return wrong;
}

// Arguments: degrees, scale in percent.
void Draw(benchmark::State& state, Operation fast, Operation exact) {
    const CBxOwnedPic source = MakePhotograph();
    CBxOwnedPic view;
    CBxOwnedPic expected;
    if (source->m_pData == nullptr || view.Allocate(kViewWidth, kViewHeight, 3, 8) != 0 ||
        expected.Allocate(kViewWidth, kViewHeight, 3, 8) != 0) {
        state.SkipWithError("no memory");
        return;
    }
    CBxPicMap map;
    map.Compute(kViewWidth / 2.0, kViewHeight / 2.0, 2000.0, 1500.0, static_cast<double>(state.range(0)),
                static_cast<double>(state.range(1)) / 100.0);
    CBxPicBufAPI::Zero(view.Pic());
    CBxPicBufAPI::Zero(expected.Pic());
    fast(view.Pic(), source.Pic(), map);
    exact(expected.Pic(), source.Pic(), map);
    if (CountWrong(view.Pic(), expected.Pic()) > kViewWidth * kViewHeight / 1000) {
        state.SkipWithError("the fast result is not that of the exact form");
        return;
    }
    for (auto unused : state) {
        fast(view.Pic(), source.Pic(), map);
        benchmark::DoNotOptimize(view->m_pData);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kViewWidth * kViewHeight);
}

void Angles(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"degrees", "percent"})->Args({0, 100})->Args({30, 100})->Args({0, 67})->Args({30, 150});
    benchmark->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK_CAPTURE(Draw, BilinearFast, CBxPicBufAPI::TransformBilinearFast, CBxPicBufAPI::TransformBilinear)
    ->Apply(Angles);
BENCHMARK_CAPTURE(Draw, BicubicFast, CBxPicBufAPI::TransformBicubicFast, CBxPicBufAPI::TransformBicubic)->Apply(Angles);
BENCHMARK_CAPTURE(Draw, ConstantFast, CBxPicBufAPI::TransformConstantFast, CBxPicBufAPI::TransformConstant)
    ->Apply(Angles);
