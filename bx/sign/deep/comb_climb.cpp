#include "comb_climb.h"

#include <algorithm>
#include <cmath>

#include "phasor.h"

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kRadiansOfTone = 2.0 * kPi / (kPeriod / 2);
constexpr double kLeastError = 0.25;  // pixels
constexpr double kStepOfError = 1.0;
constexpr double kFewRows = 8.0;  // of an ellipse
constexpr int kSweeps = 2;        // of all moves, in a round
constexpr int kShifts = 2;        // moves of the whole grid, before the others

SBxGridPose Moved(const SBxGridPose& pose, int move, double step) {
    if (move >= kShifts) {
        return BX_MovedPose(pose, move - kShifts, step);
    }
    SBxGridPose moved = pose;
    const CBxPoint<double>& by = move == 0 ? pose.along : pose.down;
    moved.origin = {pose.origin.x + step * by.x, pose.origin.y + step * by.y};
    return moved;
}

class CClimb {
public:
    CClimb(CBxDeepRun& run, SBxGridTrial& trial, bool isQuick) : m_Run(run), m_Trial(trial), m_bQuick(isQuick) {
        m_dCell = std::min(std::hypot(trial.pose.along.x, trial.pose.along.y),
                           std::hypot(trial.pose.down.x, trial.pose.down.y));
    }

    double Round(double error) {
        error = std::max(error, kLeastError / m_dCell);
        SetWeights(error * m_dCell);
        double best = Clearness(m_Trial.pose);
        for (int sweep = 0; sweep < kSweeps && !m_Run.Ended(); ++sweep) {
            const double before = best;
            for (int move = 0; move < 2 * (kShifts + kGridMoves); ++move) {
                const double step = move % 2 == 0 ? kStepOfError * error : -kStepOfError * error;
                const SBxGridPose moved = Moved(m_Trial.pose, move / 2, step);
                const double reached = Clearness(moved);
                if (reached > best) {
                    best = reached;
                    m_Trial.pose = moved;
                }
            }
            if (best == before) {
                break;
            }
        }
        return best;
    }

private:
    // Quickly: from fewer rows, under sharp edges.
    void Read(float* means, const SBxGridTrial& trial) {
        if (m_bQuick) {
            m_Run.m_ulGrids.fetch_add(1, std::memory_order_relaxed);
            m_Run.m_Sums.MeansOfShare(means, trial.pose, kEllipseShare, kFewRows, false);
        } else {
            m_Run.ReadMeans(means, trial);
        }
    }

    // From how the means change when the grid is moved a little.
    void SetWeights(double error) {
        float means[4][kCellCount];
        const double half = std::max(0.5, 0.5 * error);
        for (int i = 0; i < 4; ++i) {
            SBxGridTrial moved = m_Trial;
            (i < 2 ? moved.pose.origin.x : moved.pose.origin.y) += i % 2 == 0 ? -half : half;
            Read(means[i], moved);
        }
        for (int cell = 0; cell < kCellCount; ++cell) {
            const double x = means[1][cell] - means[0][cell];
            const double y = means[3][cell] - means[2][cell];
            const double phase = std::hypot(x, y) / (2.0 * half) * error * kRadiansOfTone;
            m_dWeights[cell] = phase == phase ? std::exp(-0.5 * phase * phase) : 0.0;
        }
    }

    double Clearness(const SBxGridPose& pose) {
        SBxGridTrial trial = m_Trial;
        trial.pose = pose;
        float means[kCellCount];
        Read(means, trial);
        float cosines[kCellCount];
        float sines[kCellCount];
        for (int cell = 0; cell < kCellCount; ++cell) {
            const SBxPhasor phasor = BX_PhasorOf(means[cell] * static_cast<float>(1.0 / (kPeriod / 2)));
            cosines[cell] = phasor.cosine;
            sines[cell] = phasor.sine;
        }
        double real = 0.0;
        double imaginary = 0.0;
        double squares = 1e-9;
        for (int cell = 0; cell < kCellCount; ++cell) {
            if (means[cell] == means[cell]) {
                real += m_dWeights[cell] * static_cast<double>(cosines[cell]);
                imaginary += m_dWeights[cell] * static_cast<double>(sines[cell]);
                squares += m_dWeights[cell] * m_dWeights[cell];
            }
        }
        return std::hypot(real, imaginary) / std::sqrt(0.5 * squares);
    }

    CBxDeepRun& m_Run;
    SBxGridTrial& m_Trial;
    const bool m_bQuick;
    double m_dCell;
    double m_dWeights[kCellCount];
};

}  // namespace

double BX_ClimbComb(CBxDeepRun& run, SBxGridTrial& trial, double error, int rounds, bool isQuick) {
    CClimb climb(run, trial, isQuick);
    double reached = 0.0;
    for (int round = 0; round < rounds && !run.Ended(); ++round, error *= 0.5) {
        reached = climb.Round(error);
    }
    return reached;
}
