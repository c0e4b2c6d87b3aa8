// The picture that is shown while the program starts.
#pragma once

#include <QSplashScreen>
#include <memory>

#include "vrd_config.h"

// Shows it in the middle of where the main window is going to be.
std::unique_ptr<QSplashScreen> BX_ShowSplash(const SBxVRDConfig& config);
