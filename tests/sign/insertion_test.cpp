#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "cell_grid.h"
#include "corner_detector.h"
#include "float_filters.h"
#include "sign_block.h"
#include "sign_op.h"
#include "test_pictures.h"

namespace {

char kText[] = "Veri-2026x";

bool InsideAnyCarrier(const SBxSignRun& run, int x, int y) {
    return std::any_of(run.m_siRect, run.m_siRect + run.m_uiRectCount, [x, y](const CBxRect<int>& rect) {
        return x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom;
    });
}

// The cell means of one carrier of a signed picture, read as a detection at zoom 1 reads them.
std::vector<double> MeansOf(SBxPicBuf& picture, const CBxRect<double>& carrier) {
    CBxOwnedPic plane;
    CBxOwnedPic smooth;
    CBxOwnedPic scratch;
    EXPECT_EQ(plane.Allocate(picture.m_iWidth, picture.m_iHeight, 1, 32), 0);
    EXPECT_EQ(smooth.AllocateLike(plane.Pic()), 0);
    EXPECT_EQ(scratch.AllocateLike(plane.Pic()), 0);
    for (int y = 0; y < picture.m_iHeight; ++y) {
        for (int x = 0; x < picture.m_iWidth; ++x) {
            BX_PicRow<float>(plane.Pic(), y)[x] = BX_PicRow<unsigned char>(picture, y)[3 * x];
        }
    }
    CBxFloatFilter::ConvWithKernel2D_7(BX_PicRow<float>(smooth.Pic(), 0), BX_PicRow<float>(plane.Pic(), 0),
                                       static_cast<unsigned int>(picture.m_iWidth),
                                       static_cast<unsigned int>(picture.m_iHeight), BX_PicRow<float>(scratch.Pic(), 0),
                                       kSmoothingKernel, 1.0);
    const SBxCellGrid grid(carrier);
    CBxOwnedPic values;
    CBxOwnedPic labels;
    EXPECT_EQ(values.Allocate(grid.m_Frame.Width(), grid.m_Frame.Height(), 1, 32), 0);
    CBxPicBufAPI::Copy(values.Pic(), smooth.Pic(), grid.m_Frame);
    EXPECT_EQ(BX_BuildLabelMap(labels, grid), 0);
    CBxPoint<double> centres[256];
    grid.Centres(centres);
    std::vector<double> means(256);
    CBxSignOp::GetAllMeansFloat(means.data(), &values.Pic(), &labels.Pic(), centres, grid.m_dCellWidth,
                                grid.m_dCellHeight);
    return means;
}

}  // namespace

TEST(Insertion, ChangesBlueInsideTheCarriersOnly) {
    const CBxOwnedPic original = MakeTexturedPicture(900, 700, 1);
    CBxOwnedPic clamped = CopyOf(original.Pic());
    CBxSignOp::ModifyChangeFromTo(clamped.Pic(), 3, 252);
    CBxOwnedPic signedPicture = CopyOf(original.Pic());
    SBxSignRun run;
    ASSERT_EQ(CBxSignOp::InsertTextIntoPicture(run, &signedPicture.Pic(), kText), 0);
    ASSERT_GE(run.m_uiRectCount, 1u);
    int changedInside = 0;
    for (int y = 0; y < 700; ++y) {
        const unsigned char* before = BX_PicRow<unsigned char>(clamped.Pic(), y);
        const unsigned char* after = BX_PicRow<unsigned char>(signedPicture.Pic(), y);
        for (int x = 0; x < 900; ++x) {
            ASSERT_EQ(before[3 * x + 1], after[3 * x + 1]);
            ASSERT_EQ(before[3 * x + 2], after[3 * x + 2]);
            if (InsideAnyCarrier(run, x, y)) {
                changedInside += before[3 * x] != after[3 * x];
            } else {
                ASSERT_EQ(before[3 * x], after[3 * x]) << x << ", " << y;
            }
        }
    }
    EXPECT_GT(changedInside, 10000);
}

TEST(Insertion, SettlesTheCellsInTheMiddleOfTheirHalfPeriod) {
    CBxOwnedPic picture = MakeTexturedPicture(360, 300, 4);  // too small for corners: the whole picture carries
    SBxSignRun run;
    ASSERT_EQ(CBxSignOp::InsertTextIntoPicture(run, &picture.Pic(), kText), 0);
    ASSERT_EQ(run.m_uiRectCount, 1u);
    EXPECT_EQ(run.m_siRect[0], (CBxRect<int>{0, 0, 360, 300}));
    int bits[256];
    BX_EncodeSign(bits, kText);
    const std::vector<double> means = MeansOf(picture.Pic(), {0, 0, 360, 300});
    int settled = 0;
    for (int cell = 0; cell < 256; ++cell) {
        settled += std::fabs(std::fmod(means[cell], 6.0) - (bits[cell] != 0 ? 4.5 : 1.5)) < 0.1;
    }
    EXPECT_GE(settled, 250);
}

TEST(Insertion, ClampsBlackAndWhiteInAllComponents) {
    CBxOwnedPic picture = MakeTexturedPicture(400, 400, 2);
    CBxPicBufAPI::SetConst(picture.Pic(), {0, 0, 100, 400}, 0);
    CBxPicBufAPI::SetConst(picture.Pic(), {300, 0, 400, 400}, 255);
    SBxSignRun run;
    ASSERT_EQ(CBxSignOp::InsertTextIntoPicture(run, &picture.Pic(), kText), 0);
    for (int y = 0; y < 400; ++y) {
        const unsigned char* row = BX_PicRow<unsigned char>(picture.Pic(), y);
        EXPECT_EQ(row[3 * 50 + 1], 3);
        EXPECT_EQ(row[3 * 350 + 2], 252);
    }
}

TEST(Insertion, RefusesMoreThanFortyMillionPixelsAfterTheClamp) {
    CBxOwnedPic picture;
    ASSERT_EQ(picture.Allocate(8000, 5001, 3, 8), 0);
    CBxPicBufAPI::Zero(picture.Pic());
    EXPECT_EQ(CBxSignOp::InsertTextIntoPicture(&picture.Pic(), kText), 1);
    EXPECT_EQ(picture->m_pData[0], 3);
    EXPECT_EQ(picture->m_pData[picture->m_uiByteSize - 1], 3);
}

TEST(Insertion, RefusesNullAndStopsWhenAborted) {
    CBxOwnedPic picture = MakeTexturedPicture(400, 400, 3);
    EXPECT_EQ(CBxSignOp::InsertTextIntoPicture(&picture.Pic(), nullptr), 1);
    EXPECT_EQ(CBxSignOp::InsertTextIntoPicture(nullptr, kText), 1);
    SBxSignRun run;
    run.AbortDetecting();
    CBxOwnedPic clamped = CopyOf(picture.Pic());
    CBxSignOp::ModifyChangeFromTo(clamped.Pic(), 3, 252);
    EXPECT_EQ(CBxSignOp::InsertTextIntoPicture(run, &picture.Pic(), kText), 1);
    EXPECT_EQ(std::memcmp(picture->m_pData, clamped->m_pData, picture->m_uiByteSize), 0);
}

TEST(Insertion, SurvivesTinyPictures) {
    for (const CBxSize<int> size : {CBxSize<int>{1, 1}, {2, 1}, {1, 3}, {6, 6}, {7, 7}, {8, 40}, {16, 16}, {33, 17}}) {
        CBxOwnedPic picture = MakeTexturedPicture(size.width, size.height, 1);
        SBxSignRun run;
        EXPECT_EQ(CBxSignOp::InsertTextIntoPicture(run, &picture.Pic(), kText), 0)
            << size.width << " x " << size.height;
    }
}

TEST(RectangleOutline, IsDrawnInsideThePictureOnly) {
    CBxOwnedPic picture;
    ASSERT_EQ(picture.Allocate(6, 5, 3, 8), 0);
    CBxPicBufAPI::Zero(picture.Pic());
    CBxSignOp::WriteRectToPicBuf(&picture.Pic(), {-4, 1, 4, 900}, 0x010203);
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 6; ++x) {
            const bool drawn = (y == 1 && x < 4) || (y >= 1 && x == 3);
            const unsigned char* pixel = BX_PicRow<unsigned char>(picture.Pic(), y) + 3 * x;
            EXPECT_EQ(pixel[0], drawn ? 3 : 0) << x << ", " << y;
            EXPECT_EQ(pixel[2], drawn ? 1 : 0) << x << ", " << y;
        }
    }
}
