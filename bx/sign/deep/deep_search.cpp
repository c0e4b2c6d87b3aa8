#include "deep_search.h"

#include <chrono>
#include <new>
#include <cstdlib>
#include <cstring>

#include "deep_run.h"
#include "result.h"

unsigned char BX_SearchDeep(SBxSignRun& run, const SBxPicBuf& picture, CBxCornerArchive& archive, unsigned int threads,
                            SBxDeepFinding& finding, SBxDeepCosts* costs) {
    SBxDeepCosts ownCosts;
    SBxDeepCosts& cost = costs != nullptr ? *costs : ownCosts;
    const auto start = std::chrono::steady_clock::now();
    auto last = start;
    const auto lap = [&last] {
        const auto now = std::chrono::steady_clock::now();
        const double seconds = std::chrono::duration<double>(now - last).count();
        last = now;
        return seconds;
    };
    CBxDeepRun* deep = new (std::nothrow) CBxDeepRun(run, picture, archive, threads);
    if (deep == nullptr) return kBxOutOfMemory;
    unsigned char r = deep->Prepare(cost);
    cost.m_dCorners = lap();
    unsigned char (*st[])(CBxDeepRun&) = {BX_SearchPairs, BX_SearchTones, BX_SearchTurned, BX_SearchOrientations, BX_SearchCut, BX_SearchJoined, BX_SearchBentTones};
    const char* sk = getenv("STAGES");
    for (int i : {0, 5, 1, 3, 2, 4, 6, 5}) {
        if (!st[i] || r != 0 || deep->Ended() || (sk && !strchr(sk, '0' + i))) continue;
        r = st[i](*deep);
        cost.m_Stages[i].m_ulGrids += deep->m_ulGrids.exchange(0); cost.m_Stages[i].m_ulDecodings += deep->m_ulDecodings.exchange(0); cost.m_Stages[i].m_dSeconds += lap();
    }
    if (r == 0) { if (deep->HasReading()) finding = deep->Finding(); else r = 1; 
      if (deep->HintCount()) { if(r) finding.m_Reading.m_dAgreement = deep->Hint(0).agreement; } }
    delete deep;
    return r;
}
