#include "finding_text.h"

#include <QStringList>
#include <cmath>

#include "gui_text.h"
#include "sign_format.h"

namespace {

constexpr double kLeastTurn = 0.05;     // degrees; what is less is not worth telling
constexpr double kLeastScaling = 0.03;  // of the size
constexpr double kLeastGain = 0.02;     // of the contrast, and of the exponent
constexpr double kLeastOffset = 1.5;    // tones; programs that only scale or turn a picture lose up to one

QString DescribeReading(const SBxSearchResult& found) {
    const CBxRect<int>& area = found.rectangle;
    return BX_FilledText(
        "Read at %s%% of the size, in %d x %d pixels at (%d, %d); corrected bits: %d",
        {QString::number(found.zoom * 100.0, 'f', 0), QString::number(area.Width()), QString::number(area.Height()),
         QString::number(area.left), QString::number(area.top), QString::number(found.correctedBits)});
}

// Empty for a picture that was searched itself.
QString DescribeShrinking(const SBxSearchResult& result) {
    if (result.shrunkTo.width <= 0) {
        return QString();
    }
    return BX_FilledText("The picture is too large to be searched itself; a copy of %d x %d pixels was searched.",
                         {QString::number(result.shrunkTo.width), QString::number(result.shrunkTo.height)});
}

bool IsBrightened(const SBxTone& tone) {
    return std::abs(tone.gain - 1.0) >= kLeastGain || std::abs(tone.exponent - 1.0) >= kLeastGain ||
           std::abs(tone.offset) >= kLeastOffset;
}

// What became of the picture since it was signed: "turn by 90°, mirroring"; empty when nothing did.
QString DescribeChanges(const SBxDeepFinding& deep) {
    QStringList changes;
    if (std::abs(deep.m_dTurned) >= kLeastTurn) {
        const QString degrees = QString::number(deep.m_dTurned, 'f', 1);
        changes.append(BX_FilledText("turn by %s°", {degrees.endsWith(".0") ? degrees.chopped(2) : degrees}));
    }
    if (deep.m_bMirrored) {
        changes.append(BX_Text("mirroring"));
    }
    if (IsBrightened(deep.m_Tone)) {
        changes.append(BX_Text("change of the brightness"));
    }
    if (deep.m_dScale > 0.0 && std::abs(deep.m_dScale - 1.0) >= kLeastScaling) {
        changes.append(BX_FilledText("scaling to %d%%", {QString::number(qRound(deep.m_dScale * 100.0))}));
    }
    return changes.join(", ");
}

QString Joined(QStringList sentences) {
    sentences.removeAll(QString());
    return sentences.join(' ');
}

}  // namespace

QString BX_GetFindingTitle(const SBxSearchResult& found) {
    return BX_IsUncertain(found) ? BX_Text("Possibly a sign:").toHtmlEscaped()
                                 : "<font color='red'>" + BX_Text("Sign Found!") + "<font>";
}

QString BX_GetFindingDetail(const SBxSearchResult& found) {
    if (!found.isDeep) {
        return Joined({DescribeReading(found), DescribeShrinking(found)});
    }
    const QString changes = DescribeChanges(found.deep);
    return Joined(
        {BX_IsUncertain(found) ? BX_Text("This reading is uncertain: single letters may be wrong.") : QString(),
         BX_Text("Found by searching harder."), changes.isEmpty() ? QString() : BX_FilledText("Undone: %s.", {changes}),
         DescribeShrinking(found)});
}

CBxFrame BX_GetCarrierFrame(const SBxSearchResult& found) {
    if (!found.isDeep) {
        return BX_FrameOf(found.rectangle);
    }
    const SBxGridPose& pose = found.deep.m_Pose;
    return {{pose.PointAt(0, 0), pose.PointAt(kGridSide, 0), pose.PointAt(kGridSide, kGridSide),
             pose.PointAt(0, kGridSide)}};
}

QString BX_GetNothingDetail(const SBxSearchResult& result, bool isHarder) {
    return Joined(
        {isHarder ? BX_Text("Searching harder found nothing either.") : QString(), DescribeShrinking(result)});
}
