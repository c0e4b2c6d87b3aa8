// Stage: the carriers of one picture carry the same text, so what is too weak in each may be enough together.
#include <algorithm>

#include "deep_run.h"
#include "result.h"

namespace {

constexpr int kMostOfThrees = 12;

// The sum of the soft values of several hints, brought back to -1 .. 1.
void Join(float* soft, const CBxDeepRun& run, const int* hints, int count) {
    for (int cell = 0; cell < kCellCount; ++cell) {
        float sum = 0.0f;
        for (int i = 0; i < count; ++i) {
            sum += run.Hint(hints[i]).soft[cell];
        }
        soft[cell] = sum / static_cast<float>(count);
    }
}

}  // namespace

unsigned char BX_SearchJoined(CBxDeepRun& run) {
    const int count = run.HintCount();
    float soft[kCellCount];
    const auto tryThese = [&](const int* hints, int number) {
        Join(soft, run, hints, number);
        const CBxDeepRun::SHint& strongest = run.Hint(hints[0]);
        run.TrySoft(strongest.trial, strongest.tone, soft, EBxDeepStage::Joined, false);
    };
    for (int first = 0; first < count; ++first) {
        for (int second = first + 1; second < count; ++second) {
            if (run.Ended()) {
                return kBxSuccess;
            }
            const int two[2] = {first, second};
            tryThese(two, 2);
            for (int third = second + 1; third < std::min(count, kMostOfThrees); ++third) {
                const int three[3] = {first, second, third};
                tryThese(three, 3);
            }
        }
    }
    return kBxSuccess;
}
