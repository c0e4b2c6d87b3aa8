// What a sign in a photograph survives: sample pictures x treatments, each with the least number of pictures in which
// the sign must be found again, and unsigned pictures in which nothing may be found.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>
#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "image_pictures.h"
#include "large_picture.h"
#include "sign_op.h"
#include "test_pictures.h"

namespace {

char kText[] = "Veri-2026x";
const char* const kSamples[] = {"astronaut", "coffee", "cat"};

const CBxOwnedPic& Sample(std::size_t index) {
    static const std::vector<CBxOwnedPic> kPictures = [] {
        std::vector<CBxOwnedPic> loaded;
        for (const char* name : kSamples) {
            loaded.push_back(PictureOfImage(QImage(QString(VERIDANE_SAMPLES "/") + name + ".png")));
        }
        return loaded;
    }();
    return kPictures[index];
}

const CBxOwnedPic& SignedSample(std::size_t index) {
    static const std::vector<CBxOwnedPic> kPictures = [] {
        std::vector<CBxOwnedPic> made;
        for (std::size_t i = 0; i < std::size(kSamples); ++i) {
            made.push_back(CopyOf(Sample(i).Pic()));
            SBxSignRun run;
            EXPECT_EQ(CBxSignOp::SignImage(run, &made.back().Pic(), kText, nullptr, nullptr, 2), 0) << kSamples[i];
        }
        return made;
    }();
    return kPictures[index];
}

// The text found, empty for none.
std::string Find(SBxPicBuf& picture) {
    char text[CBxSignOp::kTextBytes] = {};
    SBxSignRun run;
    CBxSignOp::ExtractTextFromPicture(run, &picture, text, 2);
    return text;
}

CBxOwnedPic SavedAsJpeg(const SBxPicBuf& picture, int quality) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    EXPECT_TRUE(ImageOfPicture(picture).save(&buffer, "JPG", quality));
    return PictureOfImage(QImage::fromData(bytes));
}

CBxOwnedPic Scaled(const SBxPicBuf& picture, double factor) {
    CBxOwnedPic scaled;
    const CBxSize<int> size{static_cast<int>(picture.m_iWidth * factor + 0.5),
                            static_cast<int>(picture.m_iHeight * factor + 0.5)};
    EXPECT_EQ(BX_ShrinkPicture(scaled, picture, size), 0);
    return scaled;
}

CBxOwnedPic Cropped(const SBxPicBuf& picture, double share) {
    const int x = static_cast<int>(picture.m_iWidth * share);
    const int y = static_cast<int>(picture.m_iHeight * share);
    CBxOwnedPic cropped;
    const CBxRect<int> inside{x, y, picture.m_iWidth - x, picture.m_iHeight - y};
    EXPECT_EQ(cropped.Allocate(inside.Width(), inside.Height(), 3, 8), 0);
    CBxPicBufAPI::Copy(cropped.Pic(), picture, inside);
    return cropped;
}

struct STreatment {
    const char* name;
    int leastFound;  // of the three samples
    std::function<CBxOwnedPic(const SBxPicBuf&)> apply;
};

}  // namespace

TEST(DetectionTable, FindsTheSignAfterEachTreatmentInEnoughPictures) {
    const std::vector<STreatment> treatments = {
        {"unchanged", 3, [](const SBxPicBuf& picture) { return CopyOf(picture); }},
        {"JPEG 95", 3, [](const SBxPicBuf& picture) { return SavedAsJpeg(picture, 95); }},
        {"JPEG 90", 3, [](const SBxPicBuf& picture) { return SavedAsJpeg(picture, 90); }},
        {"JPEG 80", 3, [](const SBxPicBuf& picture) { return SavedAsJpeg(picture, 80); }},
        {"JPEG 75", 2, [](const SBxPicBuf& picture) { return SavedAsJpeg(picture, 75); }},
        {"scaled to 90 %", 3, [](const SBxPicBuf& picture) { return Scaled(picture, 0.9); }},
        {"scaled to 75 %", 3, [](const SBxPicBuf& picture) { return Scaled(picture, 0.75); }},
        {"scaled to 50 %", 2, [](const SBxPicBuf& picture) { return Scaled(picture, 0.5); }},
        {"JPEG 90 scaled to 70 %", 3,
         [](const SBxPicBuf& picture) { return Scaled(SavedAsJpeg(picture, 90).Pic(), 0.7); }},
    };
    for (const STreatment& treatment : treatments) {
        int found = 0;
        for (std::size_t i = 0; i < std::size(kSamples); ++i) {
            CBxOwnedPic treated = treatment.apply(SignedSample(i).Pic());
            const std::string text = Find(treated.Pic());
            EXPECT_TRUE(text.empty() || text == kText) << treatment.name << ", " << kSamples[i] << ": " << text;
            found += text == kText;
        }
        EXPECT_GE(found, treatment.leastFound) << treatment.name;
        RecordProperty(treatment.name, found);
    }
}

TEST(DetectionTable, FindsTheSignAfterACropThatLeavesACarrierWhole) {
    CBxOwnedPic picture = MakeTexturedPicture(1300, 1000, 1);
    SBxSignRun run;
    ASSERT_EQ(CBxSignOp::InsertTextIntoPicture(run, &picture.Pic(), kText), 0);
    const CBxRect<int> cropped{65, 50, 1235, 950};  // 5 % a side
    const bool whole = std::any_of(run.m_siRect, run.m_siRect + run.m_uiRectCount, [&](const CBxRect<int>& carrier) {
        return carrier.left >= cropped.left + 20 && carrier.top >= cropped.top + 20 &&
               carrier.right <= cropped.right - 20 && carrier.bottom <= cropped.bottom - 20;
    });
    ASSERT_TRUE(whole);
    EXPECT_EQ(Find(Cropped(picture.Pic(), 0.05).Pic()), kText);
    EXPECT_EQ(Find(SavedAsJpeg(Cropped(picture.Pic(), 0.05).Pic(), 90).Pic()), kText);
}

TEST(DetectionTable, FindsNothingInUnsignedPictures) {
    for (std::size_t i = 0; i < std::size(kSamples); ++i) {
        CBxOwnedPic plain = CopyOf(Sample(i).Pic());
        EXPECT_EQ(Find(plain.Pic()), "") << kSamples[i];
        EXPECT_EQ(Find(SavedAsJpeg(plain.Pic(), 60).Pic()), "") << kSamples[i];
        EXPECT_EQ(Find(Scaled(plain.Pic(), 0.63).Pic()), "") << kSamples[i];
        EXPECT_EQ(Find(Cropped(plain.Pic(), 0.1).Pic()), "") << kSamples[i];
    }
    for (std::uint32_t seed = 100; seed < 106; ++seed) {
        EXPECT_EQ(Find(MakeTexturedPicture(420, 360, seed).Pic()), "") << seed;
    }
    CBxOwnedPic gradient;
    ASSERT_EQ(gradient.Allocate(500, 400, 3, 8), 0);
    for (int y = 0; y < 400; ++y) {
        for (int x = 0; x < 1500; ++x) {
            BX_PicRow<unsigned char>(gradient.Pic(), y)[x] = static_cast<unsigned char>(x / 6 + y / 8 % 6);
        }
    }
    EXPECT_EQ(Find(gradient.Pic()), "");
}
