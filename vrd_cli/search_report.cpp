#include "search_report.h"

#include <cmath>

#include "result.h"

namespace {

double Rounded(double value, double steps) {
    return std::round(value * steps) / steps;
}

CBxJson PointOf(const SBxGridPose& pose, double column, double row) {
    const CBxPoint<double> point = pose.PointAt(column, row);
    return {Rounded(point.x, 100.0), Rounded(point.y, 100.0)};
}

}  // namespace

void BX_DescribeSearch(CBxJson& record, const SBxSearchResult& result, double seconds) {
    for (const char* key : {"sign", "zoom", "rectangle", "corrected_bits"}) {
        record[key] = nullptr;
    }
    record["seconds"] = seconds;
    if (result.code == kBxSuccess) {
        const CBxRect<int>& rectangle = result.rectangle;
        record["sign"] = BX_ValidUtf8(result.sign);
        record["zoom"] = std::round(result.zoom * 1e6) / 1e6;  // 0.95, not 0.9500000000000002
        record["rectangle"] = {rectangle.left, rectangle.top, rectangle.right, rectangle.bottom};
        record["corrected_bits"] = result.correctedBits;
    }
    if (result.shrunkTo.width > 0) {
        record["shrunk_to"] = {result.shrunkTo.width, result.shrunkTo.height};
    }
}

void BX_DescribeDepth(CBxJson& record, const SBxSearchResult& result) {
    const bool isFound = result.code == kBxSuccess;
    record["search"] = !isFound ? CBxJson() : result.isDeep ? "deep" : "ordinary";
    record["confidence"] = !isFound ? CBxJson() : BX_IsUncertain(result) ? "uncertain" : "certain";
    for (const char* key : {"agreement", "gap", "undone", "carrier"}) {
        record[key] = nullptr;
    }
    if (!isFound) {
        return;
    }
    if (!result.isDeep) {
        record["agreement"] = Rounded(result.agreement, 100.0);
        record["gap"] = Rounded(result.lead, 100.0);
        return;
    }
    const SBxDeepFinding& deep = result.deep;
    record["zoom"] = nullptr;
    record["corrected_bits"] = nullptr;
    record["agreement"] = Rounded(deep.m_Reading.m_dAgreement, 100.0);
    record["gap"] = Rounded(deep.m_Reading.m_dGap, 100.0);
    record["undone"] = {{"turned", Rounded(deep.m_dTurned, 100.0)},
                        {"mirrored", deep.m_bMirrored},
                        {"gain", Rounded(deep.m_Tone.gain, 1000.0)},
                        {"offset", Rounded(deep.m_Tone.offset, 100.0)},
                        {"exponent", Rounded(deep.m_Tone.exponent, 1000.0)},
                        {"scale", deep.m_dScale > 0.0 ? CBxJson(Rounded(deep.m_dScale, 100.0)) : CBxJson(nullptr)}};
    record["carrier"] = {PointOf(deep.m_Pose, 0, 0), PointOf(deep.m_Pose, kGridSide, 0),
                         PointOf(deep.m_Pose, kGridSide, kGridSide), PointOf(deep.m_Pose, 0, kGridSide)};
}

std::string BX_TellSign(const SBxSearchResult& result) {
    if (result.code != kBxSuccess) {
        return "no sign found";
    }
    return BX_PrintableName(result.sign) + (BX_IsUncertain(result) ? " (uncertain)" : "");
}
