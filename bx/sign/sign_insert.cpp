// Insertion: writes the sign's bits into the blue cells of the carriers.
#include <algorithm>
#include <cmath>

#include "cell_grid.h"
#include "corner_detector.h"
#include "float_filters.h"
#include "important_rectangles.h"
#include "owned_pic.h"
#include "pic_buf_api.h"
#include "result.h"
#include "run_stop.h"
#include "scaled_rows.h"
#include "sign_block.h"
#include "sign_format.h"
#include "sign_op.h"

namespace {

constexpr unsigned int kRectangleRoom = 80;
constexpr unsigned int kAnchorRoom = 50;
constexpr double kUnscaled = 1.0;
constexpr int kWorkingMargin = 7;  // pixels around a carrier that its smoothing sees
constexpr int kMostPasses = 100;
constexpr double kSettledChange = 0.05;

// Finds the carriers of a picture.
unsigned char FindCarriers(SBxSignRun& run, CBxRect<double>* carriers, unsigned int& count, const SBxPicBuf& picture) {
    CBxSearchPicture shared;
    CBxColumnWeights columns;
    if (!shared.Prepare(picture) || !columns.Prepare(picture.m_iWidth, kUnscaled)) {
        return kBxOutOfMemory;
    }
    CBxScaledRows mean(shared, columns, kUnscaled, CBxScaledRows::EChannel::MeanOfGreenAndRed);
    if (!mean.Prepare()) {
        return kBxOutOfMemory;
    }
    CBxPoint<double> anchors[kAnchorRoom];
    unsigned int anchorCount = 0;
    SBxCornerBars bars;
    const unsigned char result = BX_FindImportantRectangles(CBxRunStop(run, EBxStopOn::Abort), carriers, count, mean,
                                                            {picture.m_iWidth, picture.m_iHeight}, anchors, anchorCount,
                                                            false, kUnscaled, bars, nullptr);
    if (result != kBxSuccess) {
        return result;
    }
    CBxSignOp::ReduceNumbersOfRectangles(carriers, count);
    return CBxSignOp::GetMaxNoOfRectangles(carriers, count);
}

// One carrier while its cells are moved. The working area is the frame with the margin that the smoothing reads.
class CCarrierWriter {
public:
    CCarrierWriter(const CBxRect<double>& carrier, const SBxPicBuf& picture)
        : m_Grid(carrier),
          m_Area{std::max(0, m_Grid.m_Frame.left - kWorkingMargin), std::max(0, m_Grid.m_Frame.top - kWorkingMargin),
                 std::min(picture.m_iWidth, m_Grid.m_Frame.right + kWorkingMargin),
                 std::min(picture.m_iHeight, m_Grid.m_Frame.bottom + kWorkingMargin)} {}

    const CBxRect<int>& Frame() const { return m_Grid.m_Frame; }

    // Writes the cell bits into component 0 of the picture. On 6 the picture is as it was.
    unsigned char Write(SBxPicBuf& picture, const int* bits) {
        const unsigned char result = Prepare(picture);
        if (result != kBxSuccess) {
            return result;
        }
        for (int pass = 0; pass < kMostPasses; ++pass) {
            if (!MoveCells(bits)) {
                break;
            }
        }
        for (int y = 0; y < m_Area.Height(); ++y) {
            const unsigned char* from = BX_PicRow<unsigned char>(m_Blue.Pic(), y);
            unsigned char* to = BX_PicRow<unsigned char>(picture, m_Area.top + y) + std::ptrdiff_t{3} * m_Area.left;
            for (int x = 0; x < m_Area.Width(); ++x) {
                to[3 * x] = from[x];
            }
        }
        return kBxSuccess;
    }

private:
    unsigned char Prepare(const SBxPicBuf& picture) {
        const CBxSize<int> area{m_Area.Width(), m_Area.Height()};
        const CBxSize<int> frame{Frame().Width(), Frame().Height()};
        if (m_Blue.Allocate(area.width, area.height, 1, 8) != kBxSuccess ||
            m_Carrier.Allocate(frame.width, frame.height, 1, 8) != kBxSuccess ||
            m_Values.Allocate(frame.width, frame.height, 1, 32) != kBxSuccess ||
            m_Unsmoothed.Allocate(area.width, area.height, 1, 32) != kBxSuccess ||
            m_Smoothed.Allocate(area.width, area.height, 1, 32) != kBxSuccess ||
            m_Scratch.Allocate(area.width, area.height, 1, 32) != kBxSuccess ||
            BX_BuildLabelMap(m_Labels, m_Grid) != kBxSuccess) {
            return kBxOutOfMemory;
        }
        CBxPicBufAPI::Zero(m_Smoothed.Pic());
        m_Grid.Centres(m_Centres);
        CBxSignOp::JustCropImageElipsesAndGetSizes(&m_Labels.Pic(), m_Centres, m_uiSizes, m_Grid.m_dCellWidth,
                                                   m_Grid.m_dCellHeight);
        for (int y = 0; y < area.height; ++y) {
            const unsigned char* from =
                BX_PicRow<unsigned char>(picture, m_Area.top + y) + std::ptrdiff_t{3} * m_Area.left;
            unsigned char* to = BX_PicRow<unsigned char>(m_Blue.Pic(), y);
            for (int x = 0; x < area.width; ++x) {
                to[x] = from[3 * x];
            }
        }
        CBxPicBufAPI::CopyRect(m_Carrier.Pic(), m_Blue.Pic(), {0, 0}, FrameInArea(), frame);
        return kBxSuccess;
    }

    // One pass: reads the cells as a detection would and moves each towards its bit. False when all had settled.
    bool MoveCells(const int* bits) {
        ReadMeans();
        double changes[kCellCount];
        bool moving = false;
        for (int cell = 0; cell < kCellCount; ++cell) {
            const double remainder = std::fmod(m_dMeans[cell], kPeriod);
            changes[cell] = CBxSignOp::GetdChange(remainder, static_cast<unsigned char>(bits[cell]), m_dMeans[cell]);
            moving = moving || std::fabs(changes[cell]) > kSettledChange;
        }
        CBxSignOp::ModifyAllHistogram(&m_Carrier.Pic(), &m_Labels.Pic(), m_uiSizes, changes);
        CBxPicBufAPI::CopyRect(m_Blue.Pic(), m_Carrier.Pic(), FrameInArea(), {0, 0},
                               {Frame().Width(), Frame().Height()});
        return moving;
    }

    void ReadMeans() {
        CBxSignOp::Convert8BitToFloat(m_Unsmoothed.Pic(), m_Blue.Pic());
        CBxFloatFilter::ConvWithKernel2D_7(
            BX_PicRow<float>(m_Smoothed.Pic(), 0), BX_PicRow<float>(m_Unsmoothed.Pic(), 0),
            static_cast<unsigned int>(m_Area.Width()), static_cast<unsigned int>(m_Area.Height()),
            BX_PicRow<float>(m_Scratch.Pic(), 0), kSmoothingKernel, 1.0);
        CBxPicBufAPI::CopyRect(m_Values.Pic(), m_Smoothed.Pic(), {0, 0}, FrameInArea(),
                               {Frame().Width(), Frame().Height()});
        CBxSignOp::GetAllMeansFloat(m_dMeans, &m_Values.Pic(), &m_Labels.Pic(), m_Centres, m_Grid.m_dCellWidth,
                                    m_Grid.m_dCellHeight);
    }

    CBxPoint<int> FrameInArea() const { return {Frame().left - m_Area.left, Frame().top - m_Area.top}; }

    SBxCellGrid m_Grid;
    CBxRect<int> m_Area;
    CBxOwnedPic m_Blue;        // blue of the working area
    CBxOwnedPic m_Carrier;     // blue of the frame
    CBxOwnedPic m_Unsmoothed;  // the working area as floats
    CBxOwnedPic m_Smoothed;
    CBxOwnedPic m_Scratch;
    CBxOwnedPic m_Values;  // the frame's part of the smoothed area
    CBxOwnedPic m_Labels;
    CBxPoint<double> m_Centres[kCellCount];
    unsigned int m_uiSizes[kCellCount];
    double m_dMeans[kCellCount];
};

}  // namespace

unsigned char CBxSignOp::InsertTextIntoPicture(SBxPicBuf* picture, char* text) {
    return InsertTextIntoPicture(m_DefaultRun, picture, text);
}

unsigned char CBxSignOp::InsertTextIntoPicture(SBxSignRun& run, SBxPicBuf* picture, char* text) {
    if (picture == nullptr || text == nullptr) {
        return kBxFailure;
    }
    ModifyChangeFromTo(*picture, kDarkestByte, kBrightestByte);
    if (std::int64_t{picture->m_iWidth} * picture->m_iHeight > kMostPixelsToSign) {
        return kBxFailure;
    }
    CBxRect<double> carriers[kRectangleRoom];
    unsigned int count = 0;
    const unsigned char found = FindCarriers(run, carriers, count, *picture);
    if (found != kBxSuccess) {
        return found;
    }
    int bits[kCellCount];
    BX_EncodeSign(bits, text);
    run.m_uiRectCount = count;
    for (unsigned int carrier = 0; carrier < count; ++carrier) {
        CCarrierWriter writer(carriers[carrier], *picture);
        run.m_siRect[carrier] = writer.Frame();
        const unsigned char written = writer.Write(*picture, bits);
        if (written != kBxSuccess) {
            return written;
        }
    }
    return kBxSuccess;
}
