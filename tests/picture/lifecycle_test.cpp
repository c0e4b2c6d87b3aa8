#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "test_pictures.h"

using testing::Each;
using testing::ElementsAre;

using Api = CBxPicBufAPI;
using Rect = CBxRect<int>;

TEST(PicLifecycle, RowsArePackedAndDepthsRoundUpToBytes) {
    struct {
        int components, bits, strideOf7Pixels;
    } const cases[] = {{3, 8, 21}, {1, 64, 56}, {1, 12, 14}, {3, 32, 84}, {1, 1, 7}};
    for (const auto& c : cases) {
        CBxOwnedPic pic;
        ASSERT_EQ(pic.Allocate(7, 5, c.components, c.bits), 0);
        EXPECT_EQ(pic->m_iStride, c.strideOf7Pixels);
        EXPECT_EQ(pic->m_uiByteSize, 5u * c.strideOf7Pixels);
    }
}

// Catches sizes that wrap around and give a small buffer for a big picture.
TEST(PicLifecycle, GeometryThatDoesNotFitIsLackOfMemory) {
    const int most = 0x7FFFFFFF;
    const int geometries[][4] = {{65536, 65536, 1, 8}, {40000, 40000, 3, 8}, {most, most, most, most},
                                 {-1, 10, 1, 8},       {10, -1, 1, 8},       {-65536, -65536, 1, 8},
                                 {most, 1, 3, 8},      {most / 2, 1, 1, 32}, {1, 1, most, 64},
                                 {10, 10, -1, 8},      {10, 10, 1, -8}};
    for (const auto& g : geometries) {
        CBxOwnedPic pic = MakePic(2, 2, 1, 8);
        EXPECT_EQ(pic.Allocate(g[0], g[1], g[2], g[3]), 6) << g[0] << " x " << g[1];
        EXPECT_EQ(pic->m_pData, nullptr);
        EXPECT_EQ(pic->m_iWidth, g[0]);
        EXPECT_EQ(pic->m_iBitsPerComponent, g[3]);
    }
}

TEST(PicLifecycle, EmptyPicturesAreValid) {
    CBxOwnedPic pic;
    ASSERT_EQ(pic.Allocate(0, 10, 3, 8), 0);
    ASSERT_EQ(pic.Allocate(10, 0, 3, 8), 0);
    EXPECT_NE(pic->m_pData, nullptr);
    EXPECT_EQ(pic->m_uiByteSize, 0u);
    Api::SetConst(pic.Pic(), 7);
}

TEST(PicLifecycle, AModelOfTheSameByteSizeKeepsThePixels) {
    CBxOwnedPic pic = MakeRandomPic<std::uint8_t>(20, 10, 1, 1);
    CBxOwnedPic model = MakePic(10, 20, 1, 8);
    const std::vector<std::uint8_t> before = Values<std::uint8_t>(pic.Pic());
    const unsigned char* pixels = pic->m_pData;
    ASSERT_EQ(Api::ReinitHeap(pic.Pic(), model.Pic()), 0);
    EXPECT_EQ(pic->m_pData, pixels);
    EXPECT_EQ(pic->m_iWidth, 10);
    EXPECT_EQ(pic->m_iHeight, 20);
    EXPECT_EQ(pic->m_iStride, 10);
    EXPECT_EQ(Values<std::uint8_t>(pic.Pic()), before);
}

// After a failed allocation the byte size is still set; it must not pass for pixels.
TEST(PicLifecycle, AModelBringsPixelsBackAfterAFailure) {
    CBxOwnedPic model = MakePic(4, 4, 3, 8);
    SBxPicBuf pic = model.Pic();
    pic.m_pData = nullptr;
    ASSERT_EQ(Api::ReinitHeap(pic, model.Pic()), 0);
    ASSERT_NE(pic.m_pData, nullptr);
    Api::SetConst(pic, 9);
    EXPECT_THAT(Values<std::uint8_t>(pic), Each(9));
    Api::DoneHeap(pic);
    Api::DoneHeap(pic);
    EXPECT_EQ(pic.m_pData, nullptr);
    EXPECT_EQ(pic.m_iStride, 0);
}

TEST(PicLifecycle, CopyMovesTheSmallerByteCount) {
    CBxOwnedPic big = MakePic(5, 2, 1, 8, 1);
    CBxOwnedPic small = MakePic(1, 1, 3, 8, 2);
    Api::Copy(big.Pic(), small.Pic());
    EXPECT_THAT(Values<std::uint8_t>(big.Pic()), ElementsAre(2, 2, 2, 1, 1, 1, 1, 1, 1, 1));
    Api::Copy(small.Pic(), MakePic(5, 2, 1, 8, 3).Pic());
    EXPECT_THAT(Values<std::uint8_t>(small.Pic()), ElementsAre(3, 3, 3));
}

TEST(PicLifecycle, ViewsShareTheParentsPixels) {
    CBxOwnedPic pic = MakeRandomPic<std::uint8_t>(10, 6, 3, 3);
    SBxPicBuf view;
    Api::SubPic(view, pic.Pic(), Rect{2, 1, 5, 4});
    EXPECT_EQ(view.m_pData, pic->m_pData + 36);
    EXPECT_EQ(view.m_iWidth, 3);
    EXPECT_EQ(view.m_iHeight, 3);
    EXPECT_EQ(view.m_iStride, 30);
    EXPECT_EQ(view.m_uiByteSize, pic->m_uiByteSize);

    CBxOwnedPic doubles = MakePic(10, 6, 1, 64);
    Api::SubPic(view, doubles.Pic(), Rect{3, 2, 4, 3});
    EXPECT_EQ(view.m_pData, doubles->m_pData + 2 * 80 + 3 * 8);

    const SBxPicBuf before = view;
    Api::SubPic(view, MakePic(4, 4, 1, 16).Pic(), Rect{0, 0, 2, 2});
    EXPECT_EQ(view.m_pData, before.m_pData);
}

// A view carries the byte size of its parent; filling or copying it must still end inside the parent.
TEST(PicLifecycle, WholePictureFillsOfAViewStayInTheParent) {
    CBxOwnedPic pic = MakePic(4, 4, 1, 8, 1);
    SBxPicBuf view;
    Api::SubPic(view, pic.Pic(), Rect{2, 2, 4, 4});
    Api::SetConst(view, 5);
    EXPECT_THAT(Values<std::uint8_t>(view), Each(5));
    EXPECT_EQ(pic->m_pData[9], 1);
    Api::Copy(view, MakePic(4, 4, 1, 8, 8).Pic());
    EXPECT_THAT(Values<std::uint8_t>(view), Each(8));
}

TEST(OwnedPic, HandsItsPixelsOnAndFreesTheRest) {
    CBxOwnedPic first = MakePic(3, 3, 1, 8, 4);
    const unsigned char* pixels = first->m_pData;
    CBxOwnedPic second(std::move(first));
    EXPECT_EQ(second->m_pData, pixels);
    CBxOwnedPic third = MakePic(2, 2, 1, 8);
    third = std::move(second);
    EXPECT_EQ(third->m_pData, pixels);
    SBxPicBuf bare = third.Release();
    EXPECT_EQ(third->m_pData, nullptr);
    CBxOwnedPic fourth(std::move(bare));
    EXPECT_THAT(Values<std::uint8_t>(fourth.Pic()), Each(4));
}
