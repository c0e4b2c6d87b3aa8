#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "sign_op.h"

namespace {

double PercentageOf(SProgressData& progress) {
    double percentage = -1;
    progress.GetPercentage(percentage);
    return percentage;
}

std::string TextOf(SProgressData& progress) {
    char text[SProgressData::kTextBytes];
    progress.GetText(text);
    return text;
}

}  // namespace

TEST(Progress, AddingClampsAndSettingDoesNot) {
    SProgressData progress;
    progress.SetPercentage(2.0);
    progress.AddPercentage(-5.0);
    EXPECT_EQ(PercentageOf(progress), 0.0);
    progress.SetPercentage(95.0);
    progress.AddPercentage(10.0);
    EXPECT_EQ(PercentageOf(progress), 100.0);
    progress.SetPercentage(150.0);
    EXPECT_EQ(PercentageOf(progress), 150.0);
}

TEST(Progress, KeepsItsTextForNullAndCutsALongOne) {
    SProgressData progress;
    progress.SetText("Detecting");
    progress.SetText(nullptr);
    EXPECT_EQ(TextOf(progress), "Detecting");
    progress.SetText(std::string(3000, 'x').c_str());
    EXPECT_EQ(TextOf(progress), std::string(SProgressData::kTextBytes - 1, 'x'));
    progress.GetText(nullptr);
}
