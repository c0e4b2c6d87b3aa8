#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "sign_op.h"
#include "test_pictures.h"

namespace {

char kText[] = "Veri-2026x";

// Signed once for all tests.
const CBxOwnedPic& SignedPicture() {
    static const CBxOwnedPic kPicture = [] {
        CBxOwnedPic made = MakeTexturedPicture(520, 420, 7);
        SBxSignRun run;
        EXPECT_EQ(CBxSignOp::InsertTextIntoPicture(run, &made.Pic(), kText), 0);
        return made;
    }();
    return kPicture;
}

// Halves a picture by averaging blocks of four pixels.
CBxOwnedPic Halved(const SBxPicBuf& source) {
    CBxOwnedPic half;
    EXPECT_EQ(half.Allocate(source.m_iWidth / 2, source.m_iHeight / 2, 3, 8), 0);
    for (int y = 0; y < half->m_iHeight; ++y) {
        const unsigned char* upper = BX_PicRow<unsigned char>(source, 2 * y);
        const unsigned char* lower = BX_PicRow<unsigned char>(source, 2 * y + 1);
        for (int x = 0; x < half->m_iWidth; ++x) {
            for (int c = 0; c < 3; ++c) {
                const int sum = upper[6 * x + c] + upper[6 * x + 3 + c] + lower[6 * x + c] + lower[6 * x + 3 + c];
                BX_PicRow<unsigned char>(half.Pic(), y)[3 * x + c] = static_cast<unsigned char>((sum + 2) / 4);
            }
        }
    }
    return half;
}

std::string Detect(SBxSignRun& run, const SBxPicBuf& picture, unsigned int threads, unsigned char expected = 0) {
    CBxOwnedPic copy = CopyOf(picture);
    char text[CBxSignOp::kTextBytes] = {};
    EXPECT_EQ(CBxSignOp::ExtractTextFromPicture(run, &copy.Pic(), text, threads), expected);
    EXPECT_EQ(std::memcmp(copy->m_pData, picture.m_pData, picture.m_uiByteSize), 0) << "the picture is only read";
    return text;
}

}  // namespace

class DetectionThreads : public testing::TestWithParam<unsigned int> {};

TEST_P(DetectionThreads, FindTheSignAndTellWhere) {
    SBxSignRun run;
    EXPECT_EQ(Detect(run, SignedPicture().Pic(), GetParam()), kText);
    EXPECT_GE(run.m_Finding.m_dZoom, 0.9);
    EXPECT_LE(run.m_Finding.m_dZoom, 2.05 + 1e-9);
    EXPECT_GT(run.m_Finding.m_Rectangle.Width(), 300);
    EXPECT_LE(run.m_Finding.m_Rectangle.right, 520);
}

INSTANTIATE_TEST_SUITE_P(Detection, DetectionThreads, testing::Values(0u, 1u, 2u, 3u, 12u, 40u));

TEST(Detection, FindsTheSignInAHalvedPictureAtZoomTwo) {
    CBxOwnedPic picture = MakeTexturedPicture(600, 330, 2);
    SBxSignRun run;
    ASSERT_EQ(CBxSignOp::InsertTextIntoPicture(run, &picture.Pic(), kText), 0);
    const CBxOwnedPic half = Halved(picture.Pic());
    EXPECT_EQ(Detect(run, half.Pic(), 2), kText);
    EXPECT_NEAR(run.m_Finding.m_dZoom, 2.0, 0.11);
}

TEST(Detection, FindsNothingInUnsignedPictures) {
    const CBxOwnedPic textured = MakeTexturedPicture(400, 380, 21);
    SBxSignRun run;
    EXPECT_EQ(Detect(run, textured.Pic(), 2, 1), "");
    double percentage = 0;
    run.m_ProgressData.GetPercentage(percentage);
    EXPECT_NEAR(percentage, 100.0, 1e-6);
    for (const CBxSize<int> size : {CBxSize<int>{1, 1}, {1, 9}, {2, 2}, {7, 7}, {20, 3}, {40, 40}}) {
        const CBxOwnedPic tiny = MakeTexturedPicture(size.width, size.height, 1);
        EXPECT_EQ(Detect(run, tiny.Pic(), 1, 1), "") << size.width << " x " << size.height;
    }
}

TEST(Detection, SkipsZoomsWhosePictureWouldBeTooLarge) {
    CBxOwnedPic large;
    ASSERT_EQ(large.Allocate(5001, 4938, 3, 8), 0);  // 24,694,938 pixels: above the limit even at zoom 0.9
    CBxPicBufAPI::SetConst(large.Pic(), 90);
    char block[CBxSignOp::kTextBytes] = {};
    EXPECT_EQ(CBxSignOp::ExtractTextFromPictureWithZoom(&large.Pic(), block, 0.9), 1);
    SBxSignRun run;
    EXPECT_EQ(Detect(run, large.Pic(), 1, 1), "");
}

TEST(Detection, ChecksOneZoomAlone) {
    CBxOwnedPic picture = CopyOf(SignedPicture().Pic());
    char text[CBxSignOp::kTextBytes] = {};
    CBxSignOp::AbortDetecting();
    EXPECT_EQ(CBxSignOp::ExtractTextFromPictureWithZoom(&picture.Pic(), 1.0, text), 0);
    EXPECT_STREQ(text, kText);
    EXPECT_EQ(CBxSignOp::ExtractTextFromPictureWithZoom(&picture.Pic(), 1.0, nullptr), 0);
    EXPECT_EQ(CBxSignOp::ExtractTextFromPictureWithZoom(&picture.Pic(), 1.5, text), 1);
}

TEST(Detection, StopsWhenAbortedAndTheNextOneStartsAfresh) {
    // Aborts as soon as the search has reported a first zoom; the search itself clears an earlier request.
    struct SAborter {
        SBxSignRun run;
        static void* Watch(void* parameter) {
            auto* self = static_cast<SAborter*>(parameter);
            double percentage = 0;
            while (percentage == 0) {
                self->run.m_ProgressData.GetPercentage(percentage);
            }
            self->run.AbortDetecting();
            return nullptr;
        }
    };
    const CBxOwnedPic unsignedPicture = MakeTexturedPicture(900, 700, 5);
    SAborter aborter;
    pthread_t watcher;
    ASSERT_EQ(pthread_create(&watcher, nullptr, SAborter::Watch, &aborter), 0);
    EXPECT_EQ(Detect(aborter.run, unsignedPicture.Pic(), 2, 1), "");
    pthread_join(watcher, nullptr);
    double percentage = 0;
    aborter.run.m_ProgressData.GetPercentage(percentage);
    EXPECT_LT(percentage, 60.0) << "most zooms were left out";
    EXPECT_EQ(Detect(aborter.run, SignedPicture().Pic(), 2), kText);
}

TEST(Detection, RunsOfOneProcessDoNotStopEachOther) {
    struct SOther {
        SBxSignRun run;
        std::string text;
        static void* Search(void* parameter) {
            auto* self = static_cast<SOther*>(parameter);
            self->text = Detect(self->run, SignedPicture().Pic(), 2);
            return nullptr;
        }
    };
    SignedPicture();
    SOther other;
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, SOther::Search, &other), 0);
    for (int i = 0; i < 1000; ++i) {
        CBxSignOp::AbortDetecting();
    }
    SBxSignRun mine;
    const CBxOwnedPic unsignedPicture = MakeTexturedPicture(380, 360, 9);
    EXPECT_EQ(Detect(mine, unsignedPicture.Pic(), 1, 1), "");
    pthread_join(thread, nullptr);
    EXPECT_EQ(other.text, kText);
}

TEST(ThreadSchedule, GivesEveryZoomOnceForEveryNumberOfThreads) {
    for (unsigned int threads = 2; threads <= 13; ++threads) {
        unsigned int order[24];
        CBxSignOp::GetThreadShedule(order, threads);
        EXPECT_EQ(std::set<unsigned int>(order, order + 24).size(), 24u) << threads;
        EXPECT_LT(*std::max_element(order, order + 24), 24u) << threads;
    }
    unsigned int order[24];
    CBxSignOp::GetThreadShedule(order, 2);
    EXPECT_THAT(std::vector<unsigned int>(order, order + 6), testing::ElementsAre(0, 1, 23, 22, 2, 3));
}

TEST(Signing, SignsAPictureAndRefusesTheNextSign) {
    CBxOwnedPic picture = MakeTexturedPicture(420, 400, 12);
    bool alreadySigned = true;
    char found[CBxSignOp::kFoundTextBytes] = {};
    SBxSignRun run;
    ASSERT_EQ(CBxSignOp::SignImage(run, &picture.Pic(), kText, &alreadySigned, found, 2), 0);
    EXPECT_FALSE(alreadySigned);
    EXPECT_STREQ(found, "");
    double percentage = 0;
    run.m_ProgressData.GetPercentage(percentage);
    EXPECT_NEAR(percentage, 100.0, 1e-6);

    const CBxOwnedPic before = CopyOf(picture.Pic());
    char other[] = "another1";
    EXPECT_EQ(CBxSignOp::SignImage(run, &picture.Pic(), other, &alreadySigned, found, 2), 1);
    EXPECT_TRUE(alreadySigned);
    EXPECT_STREQ(found, kText);
    EXPECT_EQ(std::memcmp(before->m_pData, picture->m_pData, picture->m_uiByteSize), 0);
    EXPECT_EQ(CBxSignOp::SignImage(run, &picture.Pic(), other, nullptr, nullptr, 2), 1);
    EXPECT_EQ(CBxSignOp::SignImage(run, nullptr, other, nullptr, nullptr, 2), 1);
    EXPECT_EQ(CBxSignOp::SignImage(run, &picture.Pic(), nullptr, nullptr, nullptr, 2), 1);
}
