// Settings that are saved by programs that are killed, or by two at once.
#pragma once

#include "fault_scenario.h"

// Kills a program that does nothing but save settings after so many seconds. What it leaves must be readable and hold
// nothing but what was saved.
void KillWhileSettingsAreSaved(SFaultTally& tally, double seconds);
// Lets two programs save different settings over and over at once, each so many times.
void SaveSettingsTwiceAtOnce(SFaultTally& tally, int times);
