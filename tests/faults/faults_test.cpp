// A few disturbed runs of each command; `veridane_faults` does the same over and over.
#include <gtest/gtest.h>

#include "fault_scenario.h"
#include "settings_faults.h"

namespace {

constexpr long kAllThatCome = 1L << 40;

std::string Told(const SFaultTally& tally) {
    std::string text;
    for (const std::string& fault : tally.faults) {
        text += fault + "\n";
    }
    return text;
}

class Faults : public testing::TestWithParam<std::size_t> {
protected:
    void SetUp() override { ASSERT_TRUE(m_Scenario.Prepare()) << m_Scenario.Name(); }

    CFaultScenario m_Scenario = MakeFaultScenarios().at(GetParam());
};

}  // namespace

TEST_P(Faults, OfMemoryLoseNoFileAndAreNeverTakenForSuccess) {
    const long allocations = m_Scenario.CountAllocations();
    ASSERT_GT(allocations, 1000);
    SFaultTally tally;
    for (int place = 1; place < 12; ++place) {
        m_Scenario.RunWithFailingAllocations(tally, allocations * place / 12, place % 3 == 0 ? kAllThatCome : 1);
    }
    EXPECT_EQ(Told(tally), "") << m_Scenario.Name();
    EXPECT_GT(tally.refused, 0) << m_Scenario.Name() << ": nothing failed";
}

TEST_P(Faults, OfTheDiskLoseNoFileAndAreTold) {
    SFaultTally tally;
    for (const long mostFileBytes : {3000, 40000, 100000, 300000}) {
        m_Scenario.RunWithFullDisk(tally, mostFileBytes);
    }
    EXPECT_EQ(Told(tally), "") << m_Scenario.Name();
}

INSTANTIATE_TEST_SUITE_P(Commands, Faults, testing::Range<std::size_t>(0, MakeFaultScenarios().size()));

TEST(SettingsFaults, TwoProgramsThatSaveAtOnceLeaveWholeSettings) {
    SFaultTally tally;
    SaveSettingsTwiceAtOnce(tally, 100);
    EXPECT_EQ(Told(tally), "");
    EXPECT_EQ(tally.leftovers, 0);
}
