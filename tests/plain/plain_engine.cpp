#include "plain_engine.h"

#include <cmath>
#include <cstdlib>
#include <stdexcept>

#include "cell_grid.h"
#include "float_filters.h"
#include "sign_block.h"
#include "sign_op.h"

namespace {

CBxOwnedPic Make(int width, int height, int components, int bits) {
    CBxOwnedPic made;
    if (made.Allocate(width, height, components, bits) != 0) {
        throw std::bad_alloc();
    }
    CBxPicBufAPI::Zero(made.Pic());
    return made;
}

std::string Decode(const std::vector<double>& means) {
    int bits[kCellCount];
    for (int cell = 0; cell < kCellCount; ++cell) {
        bits[cell] = std::fmod(means[cell], 6.0) >= 3.0 ? 1 : 0;
    }
    const SBxReadBlock read = BX_DecodeSign(bits);
    return read.m_bAccepted ? read.m_szCharacters + 8 : "";
}

}  // namespace

CBxOwnedPic PlainScale(const SBxPicBuf& picture, double zoom) {
    std::vector<double> products(1001 * 256);
    std::vector<double*> table;
    for (int row = 0; row < 1001; ++row) {
        table.push_back(&products[256 * row]);
    }
    CBxOwnedPic scaled =
        Make(static_cast<int>(picture.m_iWidth * zoom), static_cast<int>(picture.m_iHeight * zoom), 3, 32);
    SBxPicBuf source = picture;
    CBxSignOp::TransformBilinearAccurate8x3Float(table.data(), &scaled.Pic(), &source, zoom);
    return scaled;
}

CBxOwnedPic PlainMean(const SBxPicBuf& scaled) {
    CBxOwnedPic mean = Make(scaled.m_iWidth, scaled.m_iHeight, 3, 32);
    CBxPicBufAPI::Copy(mean.Pic(), scaled);
    if (CBxSignOp::ConvertComp1Float23(mean.Pic()) != 0) {
        throw std::bad_alloc();
    }
    return mean;
}

SPlainCorners PlainCorners(const SBxPicBuf& plane, int half, double zoom) {
    CBxOwnedPic clamped = Make(plane.m_iWidth, plane.m_iHeight, 1, 32);
    CBxPicBufAPI::Copy(clamped.Pic(), plane);
    CBxSignOp::ModifyChangeFromToFloat(clamped.Pic(), half == 0 ? 0 : 128, half == 0 ? 128 : 256);
    CBxPoint<double>* points = nullptr;
    unsigned int count = 0;
    unsigned int ignored = 0;
    float strengths[CBxCornerDetector::kMostCorners];
    if (CBxCornerDetector::FindCornersHarrisInsert_Tailed(points, count, &clamped.Pic(), ignored, strengths, zoom) !=
        0) {
        throw std::bad_alloc();
    }
    SPlainCorners corners{{points, points + count}, {strengths, strengths + count}};
    std::free(points);
    return corners;
}

CBxOwnedPic PlainSmoothBlue(const SBxPicBuf& scaled, double zoom) {
    CBxOwnedPic plane = Make(scaled.m_iWidth, scaled.m_iHeight, 1, 32);
    CBxOwnedPic scratch = Make(scaled.m_iWidth, scaled.m_iHeight, 1, 32);
    CBxOwnedPic smooth = Make(scaled.m_iWidth, scaled.m_iHeight, 1, 32);
    SBxPicBuf source = scaled;
    CBxPicBufAPI::ExtractComponent(plane.Pic(), 0, source);
    CBxFloatFilter::ConvWithKernel2D_7(
        BX_PicRow<float>(smooth.Pic(), 0), BX_PicRow<float>(plane.Pic(), 0), static_cast<unsigned int>(scaled.m_iWidth),
        static_cast<unsigned int>(scaled.m_iHeight), BX_PicRow<float>(scratch.Pic(), 0), kSmoothingKernel, zoom);
    return smooth;
}

std::vector<double> PlainMeans(const SBxPicBuf& blue, const CBxRect<double>& candidate) {
    const SBxCellGrid grid(candidate);
    CBxOwnedPic values = Make(grid.m_Frame.Width(), grid.m_Frame.Height(), 1, 32);
    CBxPicBufAPI::Copy(values.Pic(), blue, grid.m_Frame);
    CBxOwnedPic labels;
    if (BX_BuildLabelMap(labels, grid) != 0) {
        throw std::bad_alloc();
    }
    CBxPoint<double> centres[kCellCount];
    grid.Centres(centres);
    std::vector<double> means(kCellCount);
    CBxSignOp::GetAllMeansFloat(means.data(), &values.Pic(), &labels.Pic(), centres, grid.m_dCellWidth,
                                grid.m_dCellHeight);
    return means;
}

SPlainZoom PlainSearchZoom(const SBxPicBuf& picture, double zoom) {
    SPlainZoom found;
    const CBxOwnedPic scaled = PlainScale(picture, zoom);
    const CBxOwnedPic mean = PlainMean(scaled.Pic());
    const CBxOwnedPic blue = PlainSmoothBlue(scaled.Pic(), zoom);

    CBxRect<double> rects[200];
    CBxPoint<double> anchors[50];
    unsigned int count = 0;
    unsigned char results[2];
    for (int half = 0; half < 2; ++half) {
        CBxOwnedPic clamped = Make(mean->m_iWidth, mean->m_iHeight, 1, 32);
        CBxPicBufAPI::Copy(clamped.Pic(), mean.Pic());
        CBxSignOp::ModifyChangeFromToFloat(clamped.Pic(), half == 0 ? 0 : 128, half == 0 ? 128 : 256);
        results[half] = CBxSignOp::GetInnerImportantRectangle(rects, count, &clamped.Pic(), anchors, 10, true, zoom);
    }
    const CBxRect<double> whole{0, 0, static_cast<double>(mean->m_iWidth), static_cast<double>(mean->m_iHeight)};
    if (results[0] == 1 && results[1] == 1) {
        rects[0] = whole;
        count = 1;
    }
    rects[count++] = whole;
    CBxSignOp::ReduceNumbersOfRectanglesX(rects, count);
    found.candidates.assign(rects, rects + count);
    for (unsigned int i = 0; i < count && found.accepted < 0; ++i) {
        found.means.push_back(PlainMeans(blue.Pic(), rects[i]));
        found.text = Decode(found.means.back());
        found.accepted = found.text.empty() ? -1 : static_cast<int>(i);
    }
    return found;
}
