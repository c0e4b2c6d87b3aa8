#include "corner_detector.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "corner_selection.h"
#include "float_filters.h"
#include "heap_array.h"
#include "owned_pic.h"
#include "pic_buf_api.h"
#include "result.h"
#include "surface_fit.h"

namespace {

constexpr int kTileMargin = 20;      // pixels around a tile that its corners are computed from
constexpr int kCornersPerTile = 51;  // room in the list
constexpr unsigned int kCandidateStep = 50;

// Strongest first. Equal strengths keep their order, so that the list is the same with every C library.
void SortByStrength(SBxPointANMS* candidates, std::size_t count) {
    std::stable_sort(candidates, candidates + count,
                     [](const SBxPointANMS& a, const SBxPointANMS& b) { return a.R > b.R; });
}

// Walks a sorted list and keeps the strongest corners that lie inside the border and apart from each other.
template <typename Accepts>
// NOLINTNEXTLINE(readability-non-const-parameter): they are written through the record
unsigned int Select(CBxPoint<double>* points, float* strengths, const SBxPointANMS* candidates, std::size_t count,
                    int width, int height, Accepts accepts) {
    SBxKeptCorners kept{points, strengths, CBxCornerDetector::kMostCorners, 0};
    for (std::size_t i = 0; i < count && !kept.IsFull(); ++i) {
        const SBxPointANMS& candidate = candidates[i];
        if (accepts(candidate) && BX_InsideCornerBorder(candidate.x, candidate.y, width, height)) {
            kept.Offer(candidate.x, candidate.y, candidate.R);
        }
    }
    return kept.count;
}

// The planes of one tile.
struct STilePlanes {
    CBxHeapArray<float> first, second, sxx, sxy, syy, scratch;

    bool Allocate(std::size_t size) {
        return first.AllocateZeroed(size) && second.AllocateZeroed(size) && sxx.AllocateZeroed(size) &&
               sxy.AllocateZeroed(size) && syy.AllocateZeroed(size) && scratch.AllocateZeroed(size);
    }
};

// Replaces a plane by its Harris response.
void HarrisResponse(float* plane, unsigned int width, unsigned int height, STilePlanes& planes, double zoom) {
    const std::size_t size = std::size_t{width} * height;
    float* smoothed = planes.first.Data();
    float* product = planes.second.Data();
    float* scratch = planes.scratch.Data();
    CBxFloatFilter::ConvWithKernel2D_7(smoothed, plane, width, height, scratch, kSmoothingKernel, zoom);
    std::memcpy(plane, smoothed, size * sizeof(float));

    // From here on the first plane holds Dx; Dy is made where the picture itself stood.
    float* dx = planes.first.Data();
    CBxFloatFilter::GetDerivationDx(dx, plane, width, height);
    CBxFloatFilter::GetDerivationDy(scratch, plane, width, height);
    float* dy = plane;
    std::memcpy(dy, scratch, size * sizeof(float));

    CBxFloatFilter::PointProduct(product, dx, dx, width, height);
    CBxFloatFilter::ConvWithKernel2D(planes.sxx.Data(), product, width, height, scratch, kTensorKernel, zoom);
    CBxFloatFilter::PointProduct(product, dx, dy, width, height);
    CBxFloatFilter::ConvWithKernel2D(planes.sxy.Data(), product, width, height, scratch, kTensorKernel, zoom);
    CBxFloatFilter::PointProduct(product, dy, dy, width, height);
    CBxFloatFilter::ConvWithKernel2D(planes.syy.Data(), product, width, height, scratch, kTensorKernel, zoom);
    CBxFloatFilter::HessianProduct(plane, planes.sxx.Data(), planes.syy.Data(), planes.sxy.Data(), width, height);
}

bool IsStrictMaximum(const float* centre, std::ptrdiff_t width) {
    const float value = *centre;
    return value > centre[-1] && value > centre[1] && value > centre[-width - 1] && value > centre[-width] &&
           value > centre[-width + 1] && value > centre[width - 1] && value > centre[width] &&
           value > centre[width + 1];
}

// Fits the surface around a maximum at (column, row); `inverse` is the inverse design matrix, row by row.
SBxPointANMS FitMaximum(const double* inverse, const float* centre, std::ptrdiff_t width, unsigned int column,
                        unsigned int row) {
    double neighbourhood[9];
    for (int x = 0; x < 3; ++x) {
        for (int y = 0; y < 3; ++y) {
            neighbourhood[3 * x + y] = centre[(y - 1) * width + x - 1];
        }
    }
    double coefficients[9];
    BX_FitSurface(coefficients, inverse, neighbourhood);
    CBxPoint<double> position;
    const double strength = BX_SurfaceMaximum(position, coefficients);
    return {column + position.x - 1.0, row + position.y - 1.0, static_cast<float>(strength), 0};
}

bool AppendCandidate(SBxPointANMS*& candidates, unsigned int& count, unsigned int& capacity,
                     const SBxPointANMS& candidate) {
    if (count >= capacity) {
        const std::size_t grownCapacity = std::size_t{capacity} + kCandidateStep;
        auto* grown = static_cast<SBxPointANMS*>(std::realloc(candidates, grownCapacity * sizeof(SBxPointANMS)));
        if (grown == nullptr) {
            return false;
        }
        candidates = grown;
        capacity = static_cast<unsigned int>(grownCapacity);
    }
    candidates[count++] = candidate;
    return true;
}

// The corners of one tile, appended to the list of the whole picture.
int AppendTileCorners(SBxPointANMS* list, unsigned int& listCount, const SBxPicBuf& picture, const CBxRect<int>& tile,
                      double zoom) {
    const CBxRect<int> grown{std::max(0, tile.left - kTileMargin), std::max(0, tile.top - kTileMargin),
                             std::min(picture.m_iWidth, tile.right + kTileMargin),
                             std::min(picture.m_iHeight, tile.bottom + kTileMargin)};
    CBxOwnedPic cut;
    if (cut.Allocate(grown.Width(), grown.Height(), 1, 32) != kBxSuccess) {
        return kBxOutOfMemory;
    }
    CBxPicBufAPI::Copy(cut.Pic(), picture, grown);

    CBxPoint<double>* points = nullptr;
    unsigned int count = 0;
    unsigned int ignored = 0;
    float strengths[CBxCornerDetector::kMostCorners];
    const CBxRect<int> accept{tile.left - grown.left, tile.top - grown.top, tile.right - grown.left,
                              tile.bottom - grown.top};
    const int result =
        CBxCornerDetector::FindCornersHarrisInsert(points, count, &cut.Pic(), ignored, strengths, zoom, accept);
    if (result != kBxSuccess) {
        return result;
    }
    for (unsigned int i = 0; i < count; ++i) {
        list[listCount++] = {points[i].x + grown.left, points[i].y + grown.top, strengths[i], 1};
    }
    std::free(points);
    return kBxSuccess;
}

}  // namespace

int CBxCornerDetector::compareR(const void* first, const void* second) {
    return static_cast<const SBxPointANMS*>(second)->R > static_cast<const SBxPointANMS*>(first)->R ? 1 : -1;
}

int CBxCornerDetector::FindLocalMaxima3x3WithThreshold(SBxPointANMS*& candidates, unsigned int& count,
                                                       unsigned int& capacity, const float* response,
                                                       unsigned int width, unsigned int height, float threshold,
                                                       unsigned int /*ignored*/) {
    const CBxMatrix inverse = BX_BiquadraticDesign().Inv();
    if (!inverse.IsValid()) {
        return kBxOutOfMemory;
    }
    for (unsigned int row = 1; row + 1 < height; ++row) {
        const float* line = response + std::size_t{row} * width;
        for (unsigned int column = 1; column + 1 < width; ++column) {
            if (!(line[column] > threshold) || !IsStrictMaximum(line + column, width)) {
                continue;
            }
            const SBxPointANMS candidate = FitMaximum(inverse[0], line + column, width, column, row);
            if (!AppendCandidate(candidates, count, capacity, candidate)) {
                return kBxOutOfMemory;
            }
        }
    }
    return kBxSuccess;
}

int CBxCornerDetector::FindCornersHarrisInsert(CBxPoint<double>*& points, unsigned int& count, SBxPicBuf* picture,
                                               unsigned int& ignored, float* strengths, double zoom,
                                               CBxRect<int> accept) {
    points = nullptr;
    count = 0;
    const auto width = static_cast<unsigned int>(picture->m_iWidth);
    const auto height = static_cast<unsigned int>(picture->m_iHeight);
    auto* plane = reinterpret_cast<float*>(picture->m_pData);

    STilePlanes planes;
    CBxHeapArray<CBxPoint<double>> kept;
    CBxHeapArray<SBxPointANMS> initial;
    if (!planes.Allocate(std::size_t{width} * height) || !kept.Allocate(kMostCorners) ||
        !initial.Allocate(kCandidateStep)) {
        return kBxOutOfMemory;
    }
    HarrisResponse(plane, width, height, planes, zoom);

    unsigned int candidateCount = 0;
    unsigned int capacity = kCandidateStep;
    SBxPointANMS* candidates = initial.Release();
    const int result = FindLocalMaxima3x3WithThreshold(candidates, candidateCount, capacity, plane, width, height,
                                                       kCornerThreshold, ignored);
    if (result == kBxSuccess) {
        SortByStrength(candidates, candidateCount);
        count = Select(kept.Data(), strengths, candidates, candidateCount, picture->m_iWidth, picture->m_iHeight,
                       [&accept](const SBxPointANMS& candidate) {
                           return candidate.x >= accept.left && candidate.x <= accept.right &&
                                  candidate.y >= accept.top && candidate.y <= accept.bottom;
                       });
        points = kept.Release();
    }
    std::free(candidates);
    return result;
}

int CBxCornerDetector::FindCornersHarrisInsert_Tailed(CBxPoint<double>*& points, unsigned int& count,
                                                      SBxPicBuf* picture, unsigned int& /*ignored*/, float* strengths,
                                                      double zoom) {
    points = nullptr;
    count = 0;
    const SBxTiling rows(picture->m_iHeight);
    const SBxTiling columns(picture->m_iWidth);
    CBxHeapArray<SBxPointANMS> list;
    CBxHeapArray<CBxPoint<double>> kept;
    if (!list.Allocate(static_cast<std::size_t>(rows.tiles) * columns.tiles * kCornersPerTile) ||
        !kept.Allocate(kMostCorners)) {
        return kBxOutOfMemory;
    }
    unsigned int listCount = 0;
    for (int row = 0; row < rows.tiles; ++row) {
        for (int column = 0; column < columns.tiles; ++column) {
            const int left = column * columns.tileSize;
            const int top = row * rows.tileSize;
            const CBxRect<int> tile{left, top, std::min(picture->m_iWidth, left + columns.tileSize),
                                    std::min(picture->m_iHeight, top + rows.tileSize)};
            if (tile.IsEmpty()) {
                continue;
            }
            const int result = AppendTileCorners(list.Data(), listCount, *picture, tile, zoom);
            if (result != kBxSuccess) {
                return result;
            }
        }
    }
    SortByStrength(list.Data(), listCount);
    count = Select(kept.Data(), strengths, list.Data(), listCount, picture->m_iWidth, picture->m_iHeight,
                   [](const SBxPointANMS&) { return true; });
    points = kept.Release();
    return kBxSuccess;
}
