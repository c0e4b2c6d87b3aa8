#include "folders.h"

#include <QCoreApplication>
#include <cstdio>

#include "bundle_folder.h"
#include "qt_files.h"

namespace {

constexpr char kBundleName[] = "Veridane.app/";

}  // namespace

void BX_JoinPath(char (&path)[kBxPathBytes], const char* folder, const char* name) {
    const int length = std::snprintf(path, sizeof(path), "%s%s", folder, name);
    if (length < 0 || length >= static_cast<int>(sizeof(path))) {
        path[0] = '\0';
    }
}

void BX_BuildFolders(SBxVRDConfig& config) {
    if (!BX_GetBundleFolder(config.m_szBundleFolder, kBxPathBytes)) {
        const QByteArray beside = QCoreApplication::applicationDirPath().toUtf8() + "/";
        BX_JoinPath(config.m_szBundleFolder, beside.constData(), kBundleName);
    }
    char home[kBxPathBytes] = "";
    BX_GetUserDirectory(home, kBxPathBytes);
    BX_JoinPath(config.m_szUserFolder, home, "/");
    BX_JoinPath(config.m_szDataFolder, config.m_szUserFolder, ".Veridane/");
    BX_CreateDirectory(config.m_szDataFolder);
    char temporary[kBxPathBytes] = "";
    BX_GetTmpDirectory(temporary, kBxPathBytes);
    BX_JoinPath(config.m_szTemporaryFolder, temporary, "/Veridane_Temp/");
}

void BX_BuildLogFolder(SBxVRDConfig& config) {
    BX_JoinPath(config.m_szLogFolder, config.m_szDataFolder, "log/");
    BX_CreateDirectory(config.m_szLogFolder);
}
