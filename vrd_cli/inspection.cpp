#include "inspection.h"

#include <cstdlib>
#include <memory>

#include "corner_detector.h"
#include "heap_array.h"
#include "large_picture.h"
#include "pic_buf_api.h"
#include "result.h"
#include "sign_op.h"
#include "stop_request.h"

namespace {

constexpr unsigned int kMostCorners = 50;
constexpr unsigned int kMostRectangles = 193;  // 96 for each half and the whole picture
constexpr unsigned int kAnchorSlots = 20;
constexpr int kTableRows = 1001;
constexpr int kTableColumns = 256;

struct SFree {
    void operator()(void* memory) const { std::free(memory); }
};

// The corners of `plane` (1_F) after its values were clamped to `from` .. `to`.
unsigned char FindCorners(std::vector<SBxCorner>& corners, const SBxPicBuf& plane, unsigned int from, unsigned int to,
                          double zoom) {
    CBxOwnedPic half;
    if (half.AllocateLike(plane) != kBxSuccess) {
        return kBxOutOfMemory;
    }
    CBxPicBufAPI::Copy(half.Pic(), plane);
    CBxSignOp::ModifyChangeFromToFloat(half.Pic(), from, to);
    CBxPoint<double>* points = nullptr;
    unsigned int count = 0;
    unsigned int ignored = 0;
    float strengths[kMostCorners] = {};
    const int result =
        CBxCornerDetector::FindCornersHarrisInsert_Tailed(points, count, &half.Pic(), ignored, strengths, zoom);
    const std::unique_ptr<CBxPoint<double>[], SFree> owner(points);
    if (result != kBxSuccess) {
        return static_cast<unsigned char>(result);
    }
    for (unsigned int index = 0; index < count; ++index) {
        corners.push_back({points[index], strengths[index]});
    }
    return kBxSuccess;
}

// Corners of both halves and the rectangles of the engine, before a reduction.
unsigned char FindAll(SBxInspection& inspection, SBxPicBuf& plane, std::vector<CBxRect<double>>& rectangles,
                      bool detection, double zoom) {
    unsigned char result = FindCorners(inspection.dark, plane, 0, 128, zoom);
    if (result == kBxSuccess && !BX_IsStopRequested()) {
        result = FindCorners(inspection.bright, plane, 128, 256, zoom);
    }
    if (result != kBxSuccess || BX_IsStopRequested()) {
        return result != kBxSuccess ? result : kBxFailure;
    }
    SBxSignRun run;
    CBxPoint<double> anchors[kAnchorSlots] = {};
    unsigned int anchorCount = 0;
    unsigned int count = 0;
    rectangles.resize(kMostRectangles);
    result = CBxSignOp::GetAllImportantRectangles(run, rectangles.data(), count, &plane, anchors, anchorCount,
                                                  detection, zoom);
    rectangles.resize(count);
    return result != kBxSuccess || !BX_IsStopRequested() ? result : kBxFailure;
}

// `scaled` as a 3_8 picture from its 3_F form.
unsigned char RoundToBytes(CBxOwnedPic& bytes, const SBxPicBuf& floats) {
    if (bytes.Allocate(floats.m_iWidth, floats.m_iHeight, 3, 8) != kBxSuccess) {
        return kBxOutOfMemory;
    }
    for (int row = 0; row < floats.m_iHeight; ++row) {
        const float* from = BX_PicRow<float>(floats, row);
        unsigned char* to = BX_PicRow<unsigned char>(bytes.Pic(), row);
        for (int index = 0; index < floats.m_iWidth * 3; ++index) {
            const float value = from[index] + 0.5F;
            to[index] = value >= 255.0F ? 255 : value > 0.0F ? static_cast<unsigned char>(value) : 0;  // NaN: 0
        }
    }
    return kBxSuccess;
}

unsigned char ScaleToFloat(CBxOwnedPic& scaled, const SBxPicBuf& picture, double zoom) {
    CBxHeapArray<double> cells;
    CBxHeapArray<double*> rows;
    if (!cells.Allocate(static_cast<std::size_t>(kTableRows) * kTableColumns) || !rows.Allocate(kTableRows) ||
        scaled.Allocate(static_cast<int>(picture.m_iWidth * zoom), static_cast<int>(picture.m_iHeight * zoom), 3, 32) !=
            kBxSuccess) {
        return kBxOutOfMemory;
    }
    for (std::size_t row = 0; row < kTableRows; ++row) {
        rows[row] = cells.Data() + row * kTableColumns;
    }
    SBxPicBuf source = picture;
    CBxSignOp::TransformBilinearAccurate8x3Float(rows.Data(), &scaled.Pic(), &source, zoom);
    return kBxSuccess;
}

void DrawCorners(SBxPicBuf& picture, const std::vector<SBxCorner>& corners, unsigned int colour) {
    constexpr int kHalfSide = 3;
    for (const SBxCorner& corner : corners) {
        const int x = static_cast<int>(corner.position.x);
        const int y = static_cast<int>(corner.position.y);
        CBxSignOp::WriteRectToPicBuf(&picture, {x - kHalfSide, y - kHalfSide, x + kHalfSide + 1, y + kHalfSide + 1},
                                     colour);
    }
}

void DrawRectangles(SBxPicBuf& picture, const std::vector<CBxRect<double>>& rectangles, unsigned int colour) {
    for (const CBxRect<double>& rectangle : rectangles) {
        CBxSignOp::WriteRectToPicBuf(&picture, BX_GetCoveringPixels(rectangle, {picture.m_iWidth, picture.m_iHeight}),
                                     colour);
    }
}

}  // namespace

unsigned char BX_InspectForInsertion(SBxInspection& inspection, SBxPicBuf& picture) {
    if (static_cast<std::int64_t>(picture.m_iWidth) * picture.m_iHeight > kMostPixelsSigned) {
        return kBxFailure;
    }
    CBxSignOp::ModifyChangeFromTo(picture, 3, 252);
    CBxOwnedPic plane;
    if (inspection.scaled.AllocateLike(picture) != kBxSuccess ||
        plane.Allocate(picture.m_iWidth, picture.m_iHeight, 3, 32) != kBxSuccess) {
        return kBxOutOfMemory;
    }
    CBxPicBufAPI::Copy(inspection.scaled.Pic(), picture);
    CBxSignOp::Convert3x8_Float(plane.Pic(), picture);
    if (CBxSignOp::ConvertComp1Float23(plane.Pic()) != kBxSuccess) {
        return kBxOutOfMemory;
    }
    std::vector<CBxRect<double>>& rectangles = inspection.rectangles;
    unsigned char result = FindAll(inspection, plane.Pic(), rectangles, false, 1.0);
    if (result != kBxSuccess) {
        return result;
    }
    auto count = static_cast<unsigned int>(rectangles.size());
    CBxSignOp::ReduceNumbersOfRectangles(rectangles.data(), count);
    rectangles.resize(count);
    inspection.carriers = rectangles;
    result = CBxSignOp::GetMaxNoOfRectangles(inspection.carriers.data(), count);
    inspection.carriers.resize(count);
    return result;
}

unsigned char BX_InspectForDetection(SBxInspection& inspection, const SBxPicBuf& picture, double zoom) {
    const double pixels = static_cast<double>(picture.m_iWidth) * picture.m_iHeight * zoom * zoom;
    if (pixels > static_cast<double>(kMostPixelsOfZoom) || picture.m_iWidth * zoom < 1.0 ||
        picture.m_iHeight * zoom < 1.0) {
        return kBxFailure;
    }
    CBxOwnedPic plane;
    unsigned char result = ScaleToFloat(plane, picture, zoom);
    if (result == kBxSuccess) {
        result = RoundToBytes(inspection.scaled, plane.Pic());
    }
    if (result == kBxSuccess) {
        result = CBxSignOp::ConvertComp1Float23(plane.Pic());
    }
    std::vector<CBxRect<double>>& rectangles = inspection.rectangles;
    if (result == kBxSuccess) {
        result = FindAll(inspection, plane.Pic(), rectangles, true, zoom);
    }
    if (result != kBxSuccess) {
        return result;
    }
    rectangles.push_back({0.0, 0.0, static_cast<double>(plane->m_iWidth), static_cast<double>(plane->m_iHeight)});
    auto count = static_cast<unsigned int>(rectangles.size());
    CBxSignOp::ReduceNumbersOfRectanglesX(rectangles.data(), count);
    rectangles.resize(count);
    return kBxSuccess;
}

void BX_DrawInspection(SBxInspection& inspection) {
    SBxPicBuf& picture = inspection.scaled.Pic();
    DrawRectangles(picture, inspection.rectangles, 0xC0C0C0);
    DrawRectangles(picture, inspection.carriers, 0x00FF00);
    DrawCorners(picture, inspection.dark, 0x3060FF);
    DrawCorners(picture, inspection.bright, 0xFF3030);
}
