// Frames a second of the picture view, 1920 x 1080, on a photograph of 24 megapixels that is dragged about.
#include <benchmark/benchmark.h>

#include <random>

#include "owned_pic.h"
#include "picture_pyramid.h"
#include "view_renderer.h"

namespace {

constexpr int kWidth = 6000;
constexpr int kHeight = 4000;
constexpr CBxSize<int> kView{1920, 1080};
constexpr QRgb kSurround = 0xFF010203;

// Slopes with a little noise, nowhere as dark as the surround.
const CBxOwnedPic& Photograph() {
    static const CBxOwnedPic kPhotograph = [] {
        CBxOwnedPic pic;
        if (pic.Allocate(kWidth, kHeight, 3, 8) != 0) {
            return pic;
        }
        std::mt19937 random(24);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth * 3; ++x) {
                BX_PicRow<unsigned char>(pic.Pic(), y)[x] =
                    static_cast<unsigned char>((x / 90 + y / 30) % 200 + 20 + (random() & 7));
            }
        }
        return pic;
    }();
    return kPhotograph;
}

// The middle of the view shows the middle of the picture, whose brightness is known.
bool IsDrawn(const QImage& frame, const SBxViewGeometry& geometry) {
    const CBxPoint<double> at = geometry.ViewToPicture(geometry.Centre());
    const int expected =
        (static_cast<int>(at.x) * 3 / 90 + static_cast<int>(at.y) / 30) % 200 + 20 + 3;  // the noise is 0 to 7
    const int difference = qBlue(frame.pixel(kView.width / 2, kView.height / 2)) - expected;
    return difference >= -8 && difference <= 8;
}

void DrawFrames(benchmark::State& state, bool isFitted, double zoom) {
    if (Photograph()->m_pData == nullptr) {
        state.SkipWithError("no memory");
        return;
    }
    CBxPicturePyramid pyramid;
    pyramid.Build(Photograph().Pic(), 1);
    SBxViewGeometry geometry;
    geometry.SetView(kView);
    geometry.SetPicture({kWidth, kHeight});
    if (!isFitted) {
        geometry.SetZoom(zoom, geometry.Centre());
    }
    CBxViewRenderer renderer;
    if (!IsDrawn(renderer.Render(pyramid, geometry, kSurround), geometry)) {
        state.SkipWithError("the frame does not show the picture");
        return;
    }
    int step = 0;
    for (auto _ : state) {
        geometry.Move(step % 2 == 0 ? 3.0 : -3.0, 1.0);
        benchmark::DoNotOptimize(renderer.Render(pyramid, geometry, kSurround).constBits());
        ++step;
    }
    state.counters["frames"] = benchmark::Counter(static_cast<double>(step), benchmark::Counter::kIsRate);
}

void BuildPyramid(benchmark::State& state) {
    for (auto _ : state) {
        CBxPicturePyramid pyramid;
        pyramid.Build(Photograph().Pic(), 1);
        benchmark::DoNotOptimize(pyramid.LevelFor(0.1));
    }
}

BENCHMARK_CAPTURE(DrawFrames, view_fitted, true, 0.0)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(DrawFrames, view_70_percent, false, 0.7)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(DrawFrames, view_100_percent, false, 1.0)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(DrawFrames, view_150_percent, false, 1.5)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(DrawFrames, view_400_percent, false, 4.0)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BuildPyramid)->Name("view_pyramid")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
