// The cells of a carrier: stamp, sizes, means, and the change that a bit asks for.
#include <cmath>
#include <cstdint>

#include "ellipse.h"
#include "pic_buf_api.h"
#include "rand_mt.h"
#include "result.h"
#include "sign_format.h"
#include "sign_op.h"
#include "system_facts.h"

namespace {

constexpr double kSmallestAppliedChange = 0.02;

// How many of the 3 x 3 sample points of a pixel lie inside.
int SamplesInside(const SBxEllipse& ellipse, int x, int y) {
    int inside = 0;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            inside += ellipse.HoldsSample(3 * x + column, 3 * y + row) ? 1 : 0;
        }
    }
    return inside;
}

bool IsRim(std::uint16_t label) {
    return label % 2 == 1;
}

// How a cell's pixels are moved: by `near`, or by `far` with a chance of `percent` in 100.
struct SDither {
    bool moves;
    int near;
    int far;
    unsigned int percent;
};

// A cell without pixels has no mean and so no change that is a number; like a tiny change, it moves nothing.
SDither DitherOfChange(double change) {
    if (!(std::fabs(change) >= kSmallestAppliedChange)) {
        return {false, 0, 0, 0};
    }
    const double near = change > 0 ? std::floor(change) : std::ceil(change);
    const double far = change > 0 ? std::ceil(change) : std::floor(change);
    return {true, static_cast<int>(near), static_cast<int>(far),
            static_cast<unsigned int>(100.0 * std::fabs(change - near))};
}

unsigned char ClampToByte(int value) {
    return static_cast<unsigned char>(value < 0 ? 0 : value > 255 ? 255 : value);
}

}  // namespace

double CBxSignOp::GetRealStampZoom(double width, double height, unsigned int columns, unsigned int rows,
                                   double& cellWidth, double& cellHeight) {
    cellWidth = width / columns;
    cellHeight = height / rows;
    return 1.0;
}

unsigned char CBxSignOp::GenerateSmallWhat(SBxPicBuf& stamp, double cellWidth, double cellHeight) {
    const int width = static_cast<int>(std::ceil(cellWidth));
    const int height = static_cast<int>(std::ceil(cellHeight));
    if (CBxPicBufAPI::ReinitHeap(stamp, width, height, 1, 16) != kBxSuccess) {
        return kBxOutOfMemory;
    }
    const CBxPoint<double> centre{cellWidth / 2, cellHeight / 2};
    const SBxEllipse ellipse = BX_EllipseOfCell(centre, cellWidth, cellHeight);
    const SBxEllipse inner{centre, ellipse.a - kRimHalfWidth, ellipse.b - kRimHalfWidth};
    const SBxEllipse outer{centre, ellipse.a + kRimHalfWidth, ellipse.b + kRimHalfWidth};
    for (int y = 0; y < height; ++y) {
        auto* row = BX_PicRow<std::uint16_t>(stamp, y);
        for (int x = 0; x < width; ++x) {
            row[x] = inner.Holds(x, y) ? 2 : outer.Holds(x, y) ? 1 : 0;
        }
    }
    return kBxSuccess;
}

void CBxSignOp::AddNonZeroBy2(SBxPicBuf& stamp) {
    for (int y = 0; y < stamp.m_iHeight; ++y) {
        auto* row = BX_PicRow<std::uint16_t>(stamp, y);
        for (int x = 0; x < stamp.m_iWidth; ++x) {
            row[x] = static_cast<std::uint16_t>(row[x] == 0 ? 0 : row[x] + 2);
        }
    }
}

void CBxSignOp::JustCropImageElipsesAndGetSizes(SBxPicBuf* labels, CBxPoint<double>* centres, unsigned int* sizes,
                                                double cellWidth, double cellHeight) {
    for (int cell = 0; cell < kCellCount; ++cell) {
        sizes[cell] = 0;
    }
    for (int y = 0; y < labels->m_iHeight; ++y) {
        const auto* row = BX_PicRow<std::uint16_t>(*labels, y);
        for (int x = 0; x < labels->m_iWidth; ++x) {
            const std::uint16_t label = row[x];
            if (label == 0) {
                continue;
            }
            const int cell = IsRim(label) ? label / 2 : label / 2 - 1;
            if (!IsRim(label) || BX_EllipseOfCell(centres[cell], cellWidth, cellHeight).Holds(x + 0.5, y + 0.5)) {
                ++sizes[cell];
            }
        }
    }
}

void CBxSignOp::GetAllMeansFloat(double* means, SBxPicBuf* values, SBxPicBuf* labels, CBxPoint<double>* centres,
                                 double cellWidth, double cellHeight) {
    double sums[kCellCount] = {};
    std::uint64_t weights[kCellCount] = {};
    for (int y = 0; y < labels->m_iHeight; ++y) {
        auto* labelRow = BX_PicRow<std::uint16_t>(*labels, y);
        const auto* valueRow = BX_PicRow<float>(*values, y);
        for (int x = 0; x < labels->m_iWidth; ++x) {
            const std::uint16_t label = labelRow[x];
            if (label == 0) {
                continue;
            }
            int cell = label / 2 - 1;
            int samples = 9;
            if (IsRim(label)) {
                cell = label / 2;
                samples = SamplesInside(BX_EllipseOfCell(centres[cell], cellWidth, cellHeight), x, y);
                labelRow[x] = static_cast<std::uint16_t>(samples == 0 ? 0 : samples == 9 ? label + 1 : label);
            }
            if (samples > 0) {
                sums[cell] += samples * static_cast<double>(valueRow[x]);
                weights[cell] += static_cast<std::uint64_t>(samples);
            }
        }
    }
    for (int cell = 0; cell < kCellCount; ++cell) {
        means[cell] = sums[cell] / static_cast<double>(weights[cell]);
    }
}

double CBxSignOp::GetdChange(double remainder, unsigned char bit, double mean) {
    const auto smaller = [](double first, double second) {
        return std::fabs(first) < std::fabs(second) ? first : second;
    };
    if (remainder < kThreshold) {
        if (bit == 0) {
            return kZero - remainder;
        }
        return mean >= 6.0 ? smaller(kOne - remainder, kOne - kPeriod - remainder) : kOne - remainder;
    }
    if (bit == 1) {
        return kOne - remainder;
    }
    const bool roomAbove = mean <= 250.0;  // false for a mean that is not a number, too
    return roomAbove ? smaller(kZero - remainder, kZero + kPeriod - remainder) : kZero - remainder;
}

void CBxSignOp::ModifyAllHistogram(SBxPicBuf* carrier, SBxPicBuf* labels, unsigned int* /*sizes*/, double* changes) {
    SDither dithers[kCellCount];
    for (int cell = 0; cell < kCellCount; ++cell) {
        dithers[cell] = DitherOfChange(changes[cell]);
    }
    RandMT random;
    random.seedMT(MyGetTickCount());
    for (int y = 0; y < labels->m_iHeight; ++y) {
        const auto* labelRow = BX_PicRow<std::uint16_t>(*labels, y);
        auto* row = BX_PicRow<unsigned char>(*carrier, y);
        for (int x = 0; x < labels->m_iWidth; ++x) {
            // Halving an odd label names the cell before: a rim pixel that is still one follows its left neighbour.
            const int cell = labelRow[x] / 2 - 1;
            if (cell < 0 || !dithers[cell].moves) {
                continue;
            }
            const SDither& dither = dithers[cell];
            const int step = random.randomMT() % 100 >= dither.percent ? dither.near : dither.far;
            row[x] = ClampToByte(row[x] + step);
        }
    }
}
