#include "second_look.h"

#include <cstdio>
#include <cstring>

#include "blue_sums.h"
#include "deep_run.h"
#include "result.h"

unsigned char BX_LookAgain(SBxSoftReading& reading, const SBxPicBuf& picture, const SBxFinding& finding,
                           const char* text) {
    CBxBlueSums sums;
    if (!sums.Prepare(picture)) {
        return kBxOutOfMemory;
    }
    float means[kCellCount];
    sums.Means(means, BX_PoseOfRectangle(finding.m_Rectangle), BX_BlurOfScale(1.0 / finding.m_dZoom));
    float soft[kCellCount];
    BX_SoftValues(soft, means, BX_ToneOfMeans(means));
    const SBxSoftReading best = BX_DecodeSoft(soft, 0.0);
    reading = best;
    reading.m_dAgreement = BX_AgreementOfText(soft, text);
    if (std::strcmp(best.m_szText, text) != 0) {
        std::snprintf(reading.m_szText, sizeof reading.m_szText, "%s", text);
        reading.m_dGap = best.m_szText[0] != 0 ? reading.m_dAgreement - best.m_dAgreement : 0.0;
    }
    return kBxSuccess;
}
