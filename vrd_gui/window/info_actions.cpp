// Settings, manual, about.
#include "about_dlg.h"
#include "dialog_form.h"
#include "help_dlg.h"
#include "veridane_gui.h"
#include "vrd_settings.h"

namespace {

constexpr char kFirstPage[] = "index.html";
constexpr char kGettingStartedPage[] = "getting_started.html";

}  // namespace

void CBxVeridaneGui::OnAppSettings() {
    if (CBxVRDSettings::EditSettings(this, m_pConfig, [this] { RetranslateUi(); }) && GetLogger() != nullptr) {
        GetLogger()->EnableLogging(m_pConfig->m_bLogEnabled, m_pConfig->m_bLogDetailEnabled, false, false);
    }
}

void CBxVeridaneGui::OnWeb() {
    BX_OpenOnDesktop(this, QString::fromUtf8(m_pConfig->m_szBundleFolder) + "doc/" + kFirstPage);
}

void CBxVeridaneGui::OnAbout() {
    CBxAboutDlg(this).exec();
}

void CBxVeridaneGui::OnHelp() {
    CBxHelp::DisplayHelp(this, kFirstPage, m_pConfig->m_szBundleFolder);
}

void CBxVeridaneGui::OnGettingStarted() {
    CBxHelp::DisplayHelp(this, kGettingStartedPage, m_pConfig->m_szBundleFolder);
}
