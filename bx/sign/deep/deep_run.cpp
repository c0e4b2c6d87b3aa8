#include "deep_run.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>

#include "result.h"
#include "run_stop.h"
#include "scaled_rows.h"
#include "search_picture.h"
#include "sign_block.h"
#include "slices.h"
#include "tone_gaps.h"

namespace {

constexpr double kHintAgreement = 8.2;
constexpr double kLeastAgreement = 10.8;     // of a grid that is reported: right readings hardly ever have less
constexpr double kPromisingAgreement = 7.8;  // every eighth decoding of noise comes near
constexpr double kLeastJointAgreement = 10.8;
constexpr double kWorthMoving = 8.6;    // agreement from which a grid is moved uphill
constexpr double kBlurAsWritten = 1.1;  // pixels; standard deviation of the smoothing under which signs are written

constexpr double kFirstMove = 0.7;           // pixels of the picture as it was signed
constexpr double kFirstMoveOfTurned = 0.08;  // cells
constexpr int kMoveRounds = 3;
constexpr double kOffsetMove = 0.6;  // tones
constexpr double kGainMove = 0.008;
constexpr double kExponentMove = 0.02;
constexpr double kSurelyNearest = 0.8;  // tones; smaller offsets are what they seem
constexpr double kKnownWithin = 0.005;  // of a gain that the gaps told

}  // namespace

double BX_BlurOfScale(double scale) {
    return kBlurAsWritten * scale;
}

SBxGridTrial BX_TrialOfPair(const SBxCornerPair& pair, double degrees) {
    const double scale = 1.0 / static_cast<double>(pair.zoom);
    return {BX_PoseOfDiagonal({pair.p.x, pair.p.y}, {pair.q.x, pair.q.y}, degrees), BX_BlurOfScale(scale), scale,
            degrees, BX_GridOrientation(0)};
}

SBxGridTrial CBxDeepRun::TrialOfWholePicture(double scale) const {
    const CBxRect<double> whole{0.0, 0.0, static_cast<double>(m_Sums.Width()), static_cast<double>(m_Sums.Height())};
    return {BX_PoseOfRectangle(whole), BX_BlurOfScale(scale), scale, 0.0, BX_GridOrientation(0)};
}

unsigned char CBxDeepRun::PutBack() {
    m_bKnowsTone = BX_FindToneGaps(m_Undone, m_Given);
    if (!m_bKnowsTone) {
        return kBxSuccess;
    }
    unsigned char table[256];
    BX_MakePutBackTable(table, m_Undone);
    return BX_PutBack(m_Back, m_Given, table);
}

unsigned char CBxDeepRun::Prepare() {
    const CBxRunStop stop(m_Run, EBxStopOn::Abort);
    if (!m_Sums.Prepare(Picture(), nullptr, {m_uiThreads, &stop})) {
        return kBxOutOfMemory;
    }
    constexpr std::size_t kParts = 2;
    std::atomic<bool> hasMemory{true};
    auto part = [&](std::size_t begin, std::size_t /*end*/) {
        const bool isPrepared = begin == 1     ? m_Pool.Collect(m_Archive) && m_Softs.Prepare(m_Pool.Count())
                                : m_bKnowsTone ? m_Clipped.Prepare(m_Given, SBxLostTones(m_Undone))
                                               : m_Clipped.Prepare(m_Given);
        if (!isPrepared) {
            hasMemory.store(false);
        }
        return hasMemory.load() && !Ended();
    };
    BX_RunSlices(kParts, 1, m_uiThreads, part);
    return hasMemory.load() ? kBxSuccess : kBxOutOfMemory;
}

bool CBxDeepRun::PreparePlanes() {
    return m_Planes.Width() > 0 || m_Planes.Prepare(Picture());
}

double CBxDeepRun::Evidence(double agreement) const {
    const auto decodings = static_cast<double>(m_ulAllDecodings.load(std::memory_order_relaxed));
    return -BX_ChanceOfAgreement(agreement) - std::log2(std::max(1.0, decodings));
}

double CBxDeepRun::Try(const SBxGridTrial& trial, const SBxTone& tone, const float* means, EBxDeepStage stage) {
    float soft[kCellCount];
    BX_SoftValues(soft, means, tone);
    return TrySoft(trial, tone, soft, stage, true);
}

SBxSoftReading CBxDeepRun::TryJoint(const SBxGridTrial& trial, const SBxTone& tone, const float* soft,
                                    double evidence) {
    m_ulDecodings.fetch_add(1, std::memory_order_relaxed);
    m_ulAllDecodings.fetch_add(1, std::memory_order_relaxed);
    const SBxSoftReading reading = BX_DecodeSoft(soft, kHintAgreement);
    if (reading.m_szText[0] != 0 && evidence >= kEvidenceBits && reading.m_dAgreement >= kLeastJointAgreement &&
        !BX_IsTooRegular(soft, reading.m_szText)) {
        KeepReading(trial, tone, reading, EBxDeepStage::Joined);
    }
    return reading;
}

void CBxDeepRun::TryAsRead(const SBxGridTrial& trial, EBxDeepStage stage) {
    float means[kCellCount];
    ReadMeans(means, trial);
    TryTones(trial, means, stage);
}

bool CBxDeepRun::IsAmbiguous(const SBxTone& tone) const {
    return m_bKnowsTone || std::fabs(tone.offset) > kSurelyNearest;
}

void CBxDeepRun::TryTones(const SBxGridTrial& trial, const float* means, EBxDeepStage stage) {
    SBxTone tone = BX_ToneOfMeans(means);
    Try(trial, tone, means, stage);
    if (IsAmbiguous(tone)) {
        tone.offset -= std::copysign(kPeriod / 2, tone.offset);
        Try(trial, tone, means, stage);
    }
}

// Where lines of zeros and of ones cannot be told apart, both readings.
bool CBxDeepRun::IsPromising(const float* soft, const SBxTone& tone) {
    const auto promises = [this](const float* values) {
        m_ulAllDecodings.fetch_add(1, std::memory_order_relaxed);
        return BX_MayBeSign(values) && !RepeatsItself(values);
    };
    if (promises(soft)) {
        return true;
    }
    float turned[kCellCount];
    std::transform(soft, soft + kCellCount, turned, [](float value) { return -value; });
    return IsAmbiguous(tone) && promises(turned);
}

// Repetitive ground often seems to be a sign.
bool CBxDeepRun::RepeatsItself(const float* soft) {
    const double regularity = BX_Regularity(soft);
    if (regularity <= kMostRegularity || regularity > kMostRegularityOfText) {
        return regularity > kMostRegularity;
    }
    m_ulDecodings.fetch_add(1, std::memory_order_relaxed);
    const SBxSoftReading reading = BX_DecodeSoft(soft, kPromisingAgreement);
    return reading.m_szText[0] == 0 || BX_IsTooRegular(soft, reading.m_szText);
}

void CBxDeepRun::TryExactly(float* soft, const SBxGridTrial& trial, EBxDeepStage stage) {
    float means[kCellCount];
    ReadMeans(means, trial);
    BX_SoftValues(soft, means, BX_ToneOfMeans(means));
    TryTones(trial, means, stage);
}

// Three quarters of the time of a reading are exact means, which few grids are worth.
void CBxDeepRun::TryRoughly(float* soft, const SBxGridTrial& trial, EBxDeepStage stage) {
    float means[kCellCount];
    ReadRoughMeans(means, trial);
    const SBxTone tone = BX_ToneOfMeans(means);
    BX_SoftValues(soft, means, tone);
    if (IsPromising(soft, tone)) {
        TryExactly(soft, trial, stage);
    }
}

float CBxDeepRun::FindComb(SBxTone& tone, const float* means) const {
    return m_bKnowsTone ? BX_FindCombBetween(tone, means, 1.0 - kKnownWithin, 1.0 + kKnownWithin)
                        : BX_FindComb(tone, means);
}

void CBxDeepRun::TryWithComb(const SBxGridTrial& trial, const float* means, EBxDeepStage stage) {
    TryTones(trial, means, stage);
    float whole[kCellCount];
    std::copy(means, means + kCellCount, whole);
    m_Clipped.LeaveOut(whole, trial.pose);
    SBxTone tone;
    if (FindComb(tone, whole) > 0.0f) {
        Try(trial, tone, whole, stage);
        tone.offset += kPeriod / 2 * tone.gain;
        Try(trial, tone, whole, stage);
    }
}

double CBxDeepRun::TrySoft(const SBxGridTrial& trial, const SBxTone& tone, const float* soft, EBxDeepStage stage,
                           bool mayMove) {
    m_ulDecodings.fetch_add(1, std::memory_order_relaxed);
    m_ulAllDecodings.fetch_add(1, std::memory_order_relaxed);
    const SBxSoftReading reading = BX_DecodeSoft(soft, kHintAgreement);
    if (reading.m_szText[0] == 0 || reading.m_dAgreement < kHintAgreement || BX_IsTooRegular(soft, reading.m_szText)) {
        return 0.0;
    }
    if (reading.m_dAgreement >= kLeastAgreement && Evidence(reading.m_dAgreement) >= kEvidenceBits) {
        KeepReading(trial, tone, reading, stage);
    }
    KeepHint(trial, tone, soft, reading);
    if (mayMove && reading.m_dAgreement >= kWorthMoving && !BX_IsCertain(reading)) {
        SBxGridTrial moved = trial;
        SBxTone tuned = tone;
        float movedSoft[kCellCount];
        if (!tone.IsUnchanged()) {
            TuneTone(tuned, trial, reading.m_szText);
        }
        MoveUphill(moved, movedSoft, tuned, reading.m_szText);
        m_ulAllDecodings.fetch_add((2 * kGridMoves + 6) * kMoveRounds, std::memory_order_relaxed);
        return std::max(reading.m_dAgreement, TrySoft(moved, tuned, movedSoft, stage, false));
    }
    return reading.m_dAgreement;
}

// The list stays sorted. Of grids that nearly coincide the better one stays.
void CBxDeepRun::KeepHint(const SBxGridTrial& trial, const SBxTone& tone, const float* soft,
                          const SBxSoftReading& reading) {
    const double agreement = reading.m_dAgreement;
    pthread_mutex_lock(&m_Mutex);
    const CBxPoint<double> centre = trial.pose.PointAt(kGridSide / 2, kGridSide / 2);
    const double cell = std::hypot(trial.pose.along.x, trial.pose.along.y);
    int same = -1;
    for (int i = 0; i < m_iHints; ++i) {
        const CBxPoint<double> other = m_Hints[i].trial.pose.PointAt(kGridSide / 2, kGridSide / 2);
        const double otherCell = std::hypot(m_Hints[i].trial.pose.along.x, m_Hints[i].trial.pose.along.y);
        if (std::hypot(centre.x - other.x, centre.y - other.y) < cell && std::fabs(cell - otherCell) < 0.1 * cell) {
            same = i;
            break;
        }
    }
    int place = same >= 0 ? same : m_iHints < kMostHints ? m_iHints : kMostHints - 1;
    const bool isBetter = place == m_iHints || agreement > m_Hints[place].agreement;
    if (isBetter) {
        m_iHints = std::max(m_iHints, place + 1);
        while (place > 0 && m_Hints[place - 1].agreement < agreement) {
            m_Hints[place] = m_Hints[place - 1];
            --place;
        }
        m_Hints[place].trial = trial;
        m_Hints[place].tone = tone;
        m_Hints[place].agreement = agreement;
        std::memcpy(m_Hints[place].text, reading.m_szText, sizeof reading.m_szText);
        std::memcpy(m_Hints[place].soft, soft, sizeof m_Hints[place].soft);
    }
    pthread_mutex_unlock(&m_Mutex);
}

namespace {

// By how many degrees a grid's rows fall, beyond quarter turns. One that was moved uphill tells that better than the
// angle that it was tried under; a grid that was tried upright is upright, unless it was clearly turned then.
double TurnOf(const SBxGridTrial& trial) {
    constexpr double kDegrees = 180.0 / 3.141592653589793;
    constexpr double kQuarter = 90.0;
    constexpr double kClearly = 0.2;
    const double angle = kDegrees * std::atan2(trial.pose.along.y, trial.pose.along.x);
    const double turned = angle - kQuarter * std::round(angle / kQuarter);
    return trial.turned == 0.0 && std::fabs(turned) < kClearly ? 0.0 : turned;
}

}  // namespace

void CBxDeepRun::KeepReading(const SBxGridTrial& trial, const SBxTone& tone, const SBxSoftReading& reading,
                             EBxDeepStage stage) {
    const bool isCertain = BX_IsCertain(reading);
    if (!isCertain && BX_RepeatsItself(reading.m_szText)) {
        return;
    }
    const double turned = TurnOf(trial);
    pthread_mutex_lock(&m_Mutex);
    if (!m_bHasReading || (isCertain && !m_Finding.m_bCertain) ||
        (isCertain == m_Finding.m_bCertain && reading.m_dAgreement > m_Finding.m_Reading.m_dAgreement)) {
        m_bHasReading = true;
        m_Finding = {reading,
                     isCertain,
                     stage,
                     trial.pose,
                     BX_Together(m_Undone, tone),
                     stage == EBxDeepStage::Anywhere ? 0.0 : trial.scale,
                     turned + 90.0 * trial.orientation.QuarterTurns(),
                     trial.orientation.Mirrored()};
    }
    pthread_mutex_unlock(&m_Mutex);
    if (isCertain) {
        m_bCertain.store(true, std::memory_order_relaxed);
    }
}

void CBxDeepRun::TuneTone(SBxTone& tone, const SBxGridTrial& trial, const char* text) const {
    int cells[kCellCount];
    BX_EncodeSign(cells, text);
    float means[kCellCount];
    m_Sums.Means(means, trial.pose, trial.blur);
    m_Clipped.LeaveOut(means, trial.pose);
    const auto agreement = [&](const SBxTone& candidate) {
        float soft[kCellCount];
        BX_SoftValues(soft, means, candidate);
        return BX_AgreementOfCells(soft, cells);
    };
    double best = agreement(tone);
    // The offset belongs to the dark end; a gain turns about the middle of the tones.
    constexpr double kMiddle = 128.0;
    for (double share = 1.0; share > 0.1; share *= 0.5) {
        for (int move = 0; move < 6; ++move) {
            const double sign = move % 2 == 0 ? share : -share;
            SBxTone candidate = tone;
            if (move / 2 == 0) {
                candidate.offset += sign * kOffsetMove;
            } else if (move / 2 == 1) {
                candidate.gain *= 1.0 + sign * kGainMove;
                candidate.offset += (tone.gain - candidate.gain) * kMiddle;
            } else {
                candidate.exponent *= 1.0 + sign * kExponentMove;
            }
            const double reached = agreement(candidate);
            if (reached > best) {
                best = reached;
                tone = candidate;
            }
        }
    }
}

double CBxDeepRun::MoveUphill(SBxGridTrial& trial, float* soft, const SBxTone& tone, const char* text) const {
    int cells[kCellCount];
    BX_EncodeSign(cells, text);
    float means[kCellCount];
    const auto agreement = [&](const SBxGridPose& pose, float* values) {
        m_Sums.Means(means, pose, trial.blur);
        if (MayBeClipped(tone)) {
            m_Clipped.LeaveOut(means, pose);
        }
        BX_SoftValues(values, means, tone);
        return BX_AgreementOfCells(values, cells);
    };
    double best = agreement(trial.pose, soft);
    if (best < kPromisingAgreement) {
        return best;  // only cells that have lost their tones spoke for it
    }
    float movedSoft[kCellCount];
    const double cell = std::hypot(trial.pose.along.x, trial.pose.along.y);
    double step = std::max(kFirstMove * trial.scale / cell, trial.turned != 0.0 ? kFirstMoveOfTurned : 0.0);
    for (int round = 0; round < kMoveRounds; ++round, step *= 0.5) {
        for (int move = 0; move < 2 * kGridMoves; ++move) {
            const SBxGridPose candidate = BX_MovedPose(trial.pose, move / 2, move % 2 == 0 ? step : -step);
            const double reached = agreement(candidate, movedSoft);
            if (reached > best) {
                best = reached;
                trial.pose = candidate;
                std::memcpy(soft, movedSoft, sizeof movedSoft);
            }
        }
    }
    return best;
}
