// The important rectangles of a picture: those between pairs of strong corners.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "bit_runs.h"
#include "carrier_choice.h"
#include "corner_detector.h"
#include "corner_search.h"
#include "important_rectangles.h"
#include "result.h"
#include "run_stop.h"
#include "sign_format.h"
#include "sign_op.h"

namespace {

constexpr unsigned int kAnchorSlots = 10;
constexpr double kNoCorners = -100.0;
constexpr double kDeleted = -1.0;
constexpr double kSameWithin = 1e-5;

// How richly corners are paired.
struct SPairing {
    unsigned int anchors;      // corners that a rectangle may start from
    unsigned int partners;     // corners that it may end at
    unsigned int perQuadrant;  // rectangles of one anchor in each of its quadrants
};
constexpr SPairing kInsertionPairing{10, 40, 1};
constexpr SPairing kDetectionPairing{12, 45, 2};

bool Spans(const CBxPoint<double>& p, const CBxPoint<double>& q) {
    return std::fabs(p.x - q.x) > kSmallestCarrierSide && std::fabs(p.y - q.y) > kSmallestCarrierSide;
}

CBxRect<double> RectangleBetween(const CBxPoint<double>& p, const CBxPoint<double>& q) {
    return {std::min(p.x, q.x), std::min(p.y, q.y), std::max(p.x, q.x), std::max(p.y, q.y)};
}

// Insertion appends the rectangles of an anchor in the order of their quadrants, detection in the order found.
void PairCorners(CBxRect<double>* rects, unsigned int& count, const CBxPoint<double>* corners, unsigned int cornerCount,
                 bool detection) {
    const SPairing pairing = detection ? kDetectionPairing : kInsertionPairing;
    const unsigned int anchors = std::min(cornerCount, pairing.anchors);
    const unsigned int partners = std::min(cornerCount, pairing.partners);
    for (unsigned int anchor = 0; anchor < anchors; ++anchor) {
        CBxRect<double> first[4];
        unsigned int found[4] = {};
        for (unsigned int partner = anchor; partner < partners; ++partner) {
            const CBxPoint<double>& p = corners[anchor];
            const CBxPoint<double>& q = corners[partner];
            const int quadrant = 2 * (q.x >= p.x ? 1 : 0) + (q.y >= p.y ? 1 : 0);
            if (!Spans(p, q) || found[quadrant] == pairing.perQuadrant) {
                continue;
            }
            ++found[quadrant];
            first[quadrant] = RectangleBetween(p, q);
            if (detection) {
                rects[count++] = first[quadrant];
            }
        }
        for (int quadrant = 0; !detection && quadrant < 4; ++quadrant) {
            if (found[quadrant] > 0) {
                rects[count++] = first[quadrant];
            }
        }
    }
}

void Delete(CBxRect<double>& rect) {
    rect = {kDeleted, kDeleted, kDeleted, kDeleted};
}

void Compact(CBxRect<double>* rects, unsigned int& count) {
    count = static_cast<unsigned int>(
        std::remove_if(rects, rects + count, [](const CBxRect<double>& rect) { return rect.top < 0; }) - rects);
}

bool Encloses(const CBxRect<double>& outer, const CBxRect<double>& inner) {
    return outer.left <= inner.left && outer.top <= inner.top && outer.right >= inner.right &&
           outer.bottom >= inner.bottom;
}

bool Repeats(const CBxRect<double>& first, const CBxRect<double>& second) {
    const auto same = [](double a, double b) { return std::fabs(a - b) < kSameWithin; };
    return same(first.left, second.left) && same(first.top, second.top) && same(first.right, second.right) &&
           same(first.bottom, second.bottom);
}

void AppendAnchors(CBxPoint<double>* anchors, unsigned int& anchorCount, const CBxPoint<double>* slots) {
    std::copy(slots, slots + kAnchorSlots, anchors + anchorCount);
    anchorCount += kAnchorSlots;
}

CBxRect<double> WholePlane(const CBxSize<int>& plane) {
    return {0.0, 0.0, static_cast<double>(plane.width), static_cast<double>(plane.height)};
}

// Turns the corners of one half into rectangles. 0 when there is a rectangle in the array, else 1.
unsigned char AddRectanglesOfHalf(CBxRect<double>* rects, unsigned int& count, const CBxPoint<double>* corners,
                                  unsigned int cornerCount, const CBxSize<int>& plane, CBxPoint<double>* anchors,
                                  unsigned int anchorSlots, bool detection) {
    if (cornerCount == 0) {
        if (count == 0) {
            rects[count++] = WholePlane(plane);
        }
        std::fill(anchors, anchors + anchorSlots, CBxPoint<double>{kNoCorners, kNoCorners});
        return kBxFailure;
    }
    PairCorners(rects, count, corners, cornerCount, detection);
    return count != 0 ? kBxSuccess : kBxFailure;
}

// The rows of a plane in memory.
class CPlaneRows : public CBxRowSource {
public:
    explicit CPlaneRows(const SBxPicBuf& plane) : m_Plane(plane) {}
    void BeginStrip(int left, int width) override {
        m_iLeft = left;
        m_iWidth = width;
    }
    void Row(float* out, int row) override { Columns(out, row, 0, m_iWidth); }
    void Spans(float* out, int row, std::uint64_t spans) override {
        BX_ForEachRun(spans, [&](int first, int end) { Columns(out, row, kSpan * first, kSpan * end); });
    }
    void Ranges(SRange* ranges, const CBxRect<int>& area, int left, int width, int count) override {
        for (int i = 0; i < count; ++i) {
            ranges[i] = RangeOf({std::max(area.left, left + kSpan * i), area.top,
                                 std::min(area.right, left + kSpan * i + width), area.bottom});
        }
    }

private:
    void Columns(float* out, int row, int first, int end) const {
        first = std::max(first, -m_iLeft);
        end = std::min(end, m_Plane.m_iWidth - m_iLeft);
        const float* from = BX_PicRow<float>(m_Plane, row);
        if (first < end) {
            std::copy(from + m_iLeft + first, from + m_iLeft + end, out + first);
        }
    }

    SRange RangeOf(const CBxRect<int>& area) const {
        if (area.IsEmpty()) {
            return {0.0f, 0.0f, 0.0f, 0.0f};
        }
        float low = std::numeric_limits<float>::infinity();
        float high = -low;
        for (int y = area.top; y < area.bottom; ++y) {
            const float* row = BX_PicRow<float>(m_Plane, y);
            for (int x = area.left; x < area.right; ++x) {
                low = std::min(low, row[x]);
                high = std::max(high, row[x]);
            }
        }
        return {low, high, high - low, high - low};
    }

    const SBxPicBuf& m_Plane;
    int m_iLeft = 0;
    int m_iWidth = 0;
};

}  // namespace

unsigned char BX_FindImportantRectangles(const CBxStopCheck& stop, CBxRect<double>* rects, unsigned int& count,
                                         CBxRowSource& source, const CBxSize<int>& plane, CBxPoint<double>* anchors,
                                         unsigned int& anchorCount, bool detection, double zoom, SBxCornerBars& bars,
                                         CBxCornerArchive* archive) {
    SBxCornerList darkCorners;
    SBxCornerList brightCorners;
    const unsigned char found =
        BX_FindCornersOfHalves(darkCorners, brightCorners, source, plane.width, plane.height, zoom, bars, &stop);
    if (found != kBxSuccess) {
        return found;
    }
    if (stop.Stopped()) {
        return kBxFailure;
    }
    if (archive != nullptr) {
        archive->Add(zoom, darkCorners, brightCorners);
    }
    CBxPoint<double> slots[kAnchorSlots] = {};
    const unsigned char dark = AddRectanglesOfHalf(rects, count, darkCorners.m_Points, darkCorners.m_uiCount, plane,
                                                   slots, kAnchorSlots, detection);
    if (dark == kBxSuccess) {
        AppendAnchors(anchors, anchorCount, slots);
    }
    std::fill(slots, slots + kAnchorSlots, CBxPoint<double>{});
    const unsigned char bright = AddRectanglesOfHalf(rects, count, brightCorners.m_Points, brightCorners.m_uiCount,
                                                     plane, slots, kAnchorSlots, detection);
    if (bright == kBxSuccess) {
        AppendAnchors(anchors, anchorCount, slots);
    } else if (dark == kBxFailure) {
        anchorCount = 0;
        rects[0] = WholePlane(plane);
        count = 1;
        std::fill(anchors, anchors + kAnchorSlots, CBxPoint<double>{kNoCorners, kNoCorners});
    }
    return kBxSuccess;
}

unsigned char CBxSignOp::GetInnerImportantRectangle(CBxRect<double>* rects, unsigned int& count, SBxPicBuf* picture,
                                                    CBxPoint<double>* anchors, unsigned int anchorSlots, bool detection,
                                                    double zoom) {
    CBxPoint<double>* corners = nullptr;
    unsigned int cornerCount = 0;
    unsigned int ignored = 0;
    float strengths[CBxCornerDetector::kMostCorners];
    const int searched =
        CBxCornerDetector::FindCornersHarrisInsert_Tailed(corners, cornerCount, picture, ignored, strengths, zoom);
    if (searched != kBxSuccess) {
        return static_cast<unsigned char>(searched);
    }
    const unsigned char result = AddRectanglesOfHalf(
        rects, count, corners, cornerCount, {picture->m_iWidth, picture->m_iHeight}, anchors, anchorSlots, detection);
    std::free(corners);
    return result;
}

unsigned char CBxSignOp::GetAllImportantRectangles(CBxRect<double>* rects, unsigned int& count, SBxPicBuf* picture,
                                                   CBxPoint<double>* anchors, unsigned int& anchorCount, bool detection,
                                                   double zoom) {
    return GetAllImportantRectangles(m_DefaultRun, rects, count, picture, anchors, anchorCount, detection, zoom);
}

unsigned char CBxSignOp::GetAllImportantRectangles(SBxSignRun& run, CBxRect<double>* rects, unsigned int& count,
                                                   SBxPicBuf* picture, CBxPoint<double>* anchors,
                                                   unsigned int& anchorCount, bool detection, double zoom) {
    CPlaneRows rows(*picture);
    const CBxRunStop stop(run, EBxStopOn::Abort);
    SBxCornerBars bars;
    return BX_FindImportantRectangles(stop, rects, count, rows, {picture->m_iWidth, picture->m_iHeight}, anchors,
                                      anchorCount, detection, zoom, bars, nullptr);
}

void CBxSignOp::ReduceNumbersOfRectangles(CBxRect<double>* rects, unsigned int& count) {
    for (unsigned int i = 0; i < count; ++i) {
        for (unsigned int j = 0; j < count; ++j) {
            if (i != j && Encloses(rects[j], rects[i])) {
                Delete(rects[j]);
            }
        }
    }
    Compact(rects, count);
}

void CBxSignOp::ReduceNumbersOfRectanglesX(CBxRect<double>* rects, unsigned int& count) {
    for (unsigned int i = 0; i < count; ++i) {
        for (unsigned int j = i + 1; j < count; ++j) {
            if (Repeats(rects[i], rects[j])) {
                Delete(rects[j]);
            }
        }
    }
    Compact(rects, count);
}

unsigned char CBxSignOp::GetMaxNoOfRectangles(CBxRect<double>* rects, unsigned int& count) {
    SBxCarrierChoice choice;
    const unsigned char result = BX_ChooseCarriers(choice, rects, count);
    if (result != kBxSuccess || count == 0) {
        return result;
    }
    CBxRect<double> chosen[kMostCarriers];
    for (unsigned int i = 0; i < choice.m_uiCount; ++i) {
        chosen[i] = rects[choice.m_uiIndex[i]];
    }
    std::copy(chosen, chosen + choice.m_uiCount, rects);
    count = choice.m_uiCount;
    return kBxSuccess;
}
