// Stage: the carriers of one picture carry the same text, so what is too weak in each may be enough together.
//
// Each hint's text is held against every grid between corners. A wrong text agrees with none of them by more than
// chance; the right one, even with a few wrong letters, with all other carriers. Those that agree are added up, by
// their agreement, and decoded together.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "deep_run.h"
#include "result.h"
#include "sign_block.h"
#include "slices.h"

namespace {

constexpr int kMostCarriersJoined = kMostCarriers;
constexpr double kLeastSupport = 4.6;      // agreement of a grid with the text of a hint
constexpr double kMostUnexplained = 0.25;  // correlation of two carriers beyond what the text makes
constexpr int kMostTurns = 3;              // of joining, decoding and looking for more
constexpr std::size_t kSlice = 1024;
constexpr std::size_t kMostSupporters = 64;

struct SSupporter {
    std::uint32_t pair;
    double agreement;
};

// The grids that agree with a text, best first.
struct SSupporters {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    std::size_t count = 0;
    SSupporter list[kMostSupporters];

    void Offer(const SSupporter& supporter) {
        pthread_mutex_lock(&mutex);
        if (count < kMostSupporters || supporter.agreement > list[count - 1].agreement) {
            std::size_t place = count < kMostSupporters ? count++ : kMostSupporters - 1;
            while (place > 0 && list[place - 1].agreement < supporter.agreement) {
                list[place] = list[place - 1];
                --place;
            }
            list[place] = supporter;
        }
        pthread_mutex_unlock(&mutex);
    }
};

CBxRect<double> FrameOf(const SBxGridPose& pose) {
    CBxRect<double> frame{1e30, 1e30, -1e30, -1e30};
    for (const int corner : {0, 1, 2, 3}) {
        const CBxPoint<double> point = pose.PointAt((corner & 1) * kGridSide, (corner >> 1) * kGridSide);
        frame.left = std::min(frame.left, point.x);
        frame.top = std::min(frame.top, point.y);
        frame.right = std::max(frame.right, point.x);
        frame.bottom = std::max(frame.bottom, point.y);
    }
    return frame;
}

// Carriers of one picture keep apart; corners a few pixels off may make them touch.
bool KeepApart(const CBxRect<double>& a, const CBxRect<double>& b) {
    constexpr double kTouch = 6.0;
    return a.right < b.left + kTouch || b.right < a.left + kTouch || a.bottom < b.top + kTouch ||
           b.bottom < a.top + kTouch;
}

// A hint and the carriers that support it.
class CJoint {
public:
    CJoint(CBxDeepRun& run, const CBxDeepRun::SHint& hint) : m_Run(run), m_Hint(hint) {}

    void Search() {
        char text[kTextCodes + 1];
        std::memcpy(text, m_Hint.text, sizeof text);
        for (int turn = 0; turn < kMostTurns && !m_Run.Ended(); ++turn) {
            Collect(text);
            if (m_iCarriers < 2) {
                return;
            }
            const SBxSoftReading reading = m_Run.TryJoint(m_Hint.trial, m_Hint.tone, m_Soft, Evidence());
            if (reading.m_szText[0] == 0 || std::strcmp(reading.m_szText, text) == 0) {
                return;
            }
            std::memcpy(text, reading.m_szText, sizeof text);
        }
    }

private:
    // Adds up the hint and the best supporters of the text that keep apart.
    void Collect(const char* text) {
        int cells[kCellCount];
        BX_EncodeSign(cells, text);
        std::int16_t signs[kCellCount];
        std::transform(cells, cells + kCellCount, signs,
                       [](int cell) { return static_cast<std::int16_t>(1 - 2 * cell); });
        SSupporters supporters;
        auto slice = [&](std::size_t begin, std::size_t end) {
            for (std::size_t i = begin; i < end; ++i) {
                const double agreement = m_Run.m_Softs.Agreement(i, signs);
                if (agreement > kLeastSupport) {
                    supporters.Offer({static_cast<std::uint32_t>(i), agreement});
                }
            }
            return !m_Run.Ended();
        };
        BX_RunSlices(m_Run.m_Softs.Count(), kSlice, m_Run.m_uiThreads, slice);
        m_iCarriers = 0;
        std::fill(m_Soft, m_Soft + kCellCount, 0.0f);
        Add(m_Hint.soft, BX_AgreementOfCells(m_Hint.soft, cells), FrameOf(m_Hint.trial.pose));
        for (std::size_t i = 0; i < supporters.count && m_iCarriers < kMostCarriersJoined; ++i) {
            const CBxRect<double> frame = FrameOf(BX_TrialOfPair(m_Run.m_Pool[supporters.list[i].pair]).pose);
            const bool isApart = std::all_of(m_Frames, m_Frames + m_iCarriers, [&frame](const CBxRect<double>& other) {
                return KeepApart(frame, other);
            });
            float soft[kCellCount];
            m_Run.m_Softs.Get(soft, supporters.list[i].pair);
            if (isApart && IsIndependent(soft, supporters.list[i].agreement)) {
                Add(soft, supporters.list[i].agreement, frame);
            }
        }
    }

    // Two carriers resemble each other as far as both resemble the text. In a picture that repeats itself any two grids
    // may be alike, and one says nothing about the other.
    bool IsIndependent(const float* soft, double agreement) const {
        return std::all_of(m_Softs, m_Softs + m_iCarriers, [&](const SCarrier& other) {
            double product = 0.0;
            double squares = 0.0;
            double otherSquares = 0.0;
            for (int cell = 0; cell < kCellCount; ++cell) {
                product += static_cast<double>(soft[cell]) * other.soft[cell];
                squares += static_cast<double>(soft[cell]) * soft[cell];
                otherSquares += static_cast<double>(other.soft[cell]) * other.soft[cell];
            }
            const double alike = product / std::sqrt(std::max(1e-9, squares * otherSquares));
            return alike < agreement * other.agreement / kCellCount + kMostUnexplained;
        });
    }

    void Add(const float* soft, double agreement, const CBxRect<double>& frame) {
        const auto weight = static_cast<float>(agreement / 16.0);
        for (int cell = 0; cell < kCellCount; ++cell) {
            m_Soft[cell] += weight * soft[cell];
        }
        m_Frames[m_iCarriers] = frame;
        m_Softs[m_iCarriers].agreement = agreement;
        std::memcpy(m_Softs[m_iCarriers].soft, soft, sizeof m_Softs[m_iCarriers].soft);
        ++m_iCarriers;
    }

    // Bits by which the agreement of all carriers with one text exceeds chance: each of them could have been any grid.
    double Evidence() const {
        double bits = 0.0;
        const double choices = std::log2(static_cast<double>(std::max<std::size_t>(2, m_Run.m_Softs.Count())));
        for (int i = 0; i < m_iCarriers; ++i) {
            bits += BX_BitsOfAgreement(m_Softs[i].agreement) - choices;
        }
        return bits - kTextCodes * kBitsPerCode;
    }

    CBxDeepRun& m_Run;
    const CBxDeepRun::SHint& m_Hint;
    float m_Soft[kCellCount] = {};
    int m_iCarriers = 0;
    CBxRect<double> m_Frames[kMostCarriersJoined];
    struct SCarrier {
        double agreement;
        float soft[kCellCount];
    };
    SCarrier m_Softs[kMostCarriersJoined];
};

}  // namespace

unsigned char BX_SearchJoined(CBxDeepRun& run) {
    for (int i = 0; i < run.HintCount() && !run.Ended(); ++i) {
        const CBxDeepRun::SHint hint = run.Hint(i);
        CJoint(run, hint).Search();
    }
    return kBxSuccess;
}
