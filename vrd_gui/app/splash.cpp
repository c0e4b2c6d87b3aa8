#include "splash.h"

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <algorithm>

#include "dialog_form.h"

namespace {

constexpr char kVersionLine[] = "Veridane version:3.5 (Mac Os X 32-bit) build:26";
constexpr char kNotice[] = "Made by the Veridane developers";

// Far enough from the ends of the number range for any arithmetic on screens.
constexpr std::int64_t kFarAway = 1'000'000;

int MiddleOf(std::int32_t start, std::int32_t end, int size) {
    const std::int64_t length = std::int64_t{end} - start;
    return static_cast<int>(std::clamp(start + (length - size) / 2, -kFarAway, kFarAway));
}

}  // namespace

std::unique_ptr<QSplashScreen> BX_ShowSplash(const SBxVRDConfig& config) {
    const QScreen* const screen = QGuiApplication::primaryScreen();
    const QPixmap picture = BX_LoadPixmap(":/res/images/SPLASH", screen != nullptr ? screen->devicePixelRatio() : 1.0);
    auto splash = std::make_unique<QSplashScreen>(picture);
    const QSize size = splash->size();
    const CBxRect<std::int32_t>& window = config.m_WindowRect;
    splash->move(MiddleOf(window.left, window.right, size.width()), MiddleOf(window.top, window.bottom, size.height()));
    splash->show();
    splash->showMessage(QString(kVersionLine) + "\n" + kNotice, Qt::AlignBottom | Qt::AlignRight, Qt::white);
    return splash;
}
