// Pattern planes in several sizes.
#pragma once

#include "pattern_plane.h"
#include "result.h"
#include "sign_format.h"

// The planes of the picture, halved again and again: the larger the cells, the fewer pixels tell of them.
class CBxPlaneLevels {
public:
    explicit CBxPlaneLevels(const CBxPatternPlane& planes) : m_Whole(planes) {}

    // 0 or 6.
    unsigned char Prepare() {
        constexpr int kSmallestPlaneSide = 64;
        while (m_iHalved < kMostHalved && Of(m_iHalved).Width() >= 2 * kSmallestPlaneSide &&
               Of(m_iHalved).Height() >= 2 * kSmallestPlaneSide) {
            if (!m_Halved[m_iHalved].Halve(Of(m_iHalved))) {
                return kBxOutOfMemory;
            }
            ++m_iHalved;
        }
        return kBxSuccess;
    }

    const CBxPatternPlane& Of(int level) const { return level == 0 ? m_Whole : m_Halved[level - 1]; }
    // The smallest planes that tell enough of a carrier whose shorter side, in pixels of the picture, is given.
    int LevelOf(double side) const {
        int level = 0;
        while (level < m_iHalved && side * Of(level + 1).Scale() > kSmallestCell * kGridSide) {
            ++level;
        }
        return level;
    }

private:
    static constexpr double kSmallestCell = 8.0;  // pixels of a plane that a map is made of, if there are finer ones
    static constexpr int kMostHalved = 4;

    const CBxPatternPlane& m_Whole;
    int m_iHalved = 0;
    CBxPatternPlane m_Halved[kMostHalved];
};
