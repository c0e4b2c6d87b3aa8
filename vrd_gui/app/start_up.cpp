#include "start_up.h"

#include <QApplication>
#include <QEventLoop>
#include <QSplashScreen>
#include <QStringList>
#include <QTimer>
#include <QUrl>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>

#include "conf_parser.h"
#include "convert_picture.h"
#include "folders.h"
#include "image_metadata.h"
#include "interface_language.h"
#include "localization.h"
#include "picture_reader.h"
#include "run_marker.h"
#include "sign_op.h"
#include "splash.h"
#include "stop_signals.h"
#include "temporary_places.h"
#include "veridane_gui.h"

namespace {

constexpr char kMissingTextsOption[] = "-lms";
constexpr double kLeastVersion = 3.0;
constexpr unsigned int kValueBytes = 100;
constexpr int kSplashMilliseconds = 1000;
constexpr int kExceptionCode = -1;

template <typename Class>
void SetLoggerOf(CBxLogger* logger) {
    Class::UnsetLogger();
    if (logger != nullptr) {
        Class::SetLogger(logger);
    }
}

// Null takes the logger away.
void SetAllLoggers(CBxLogger* logger) {
    SetLoggerOf<CBxVeridaneGui>(logger);
    SetLoggerOf<CBxSignOp>(logger);
    SetLoggerOf<CBxConfParser>(logger);
    SetLoggerOf<CBxImageMetadata>(logger);
    SetLoggerOf<CBxConvertPicture>(logger);
    SetLoggerOf<CBxLocalization>(logger);
}

// An exception that escapes from the handling of an event cannot pass through the toolkit: it is kept, and ends the
// event loop.
class CBxApplication : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override {
        try {
            return QApplication::notify(receiver, event);
        } catch (...) {
            m_Fault = std::current_exception();
            exit(kExceptionCode);
            return false;
        }
    }

    void RethrowFault() const {
        if (m_Fault != nullptr) {
            std::rethrow_exception(m_Fault);
        }
    }

private:
    std::exception_ptr m_Fault;
};

// One run. Members are destroyed from the last to the first.
class CBxRun {
public:
    CBxRun(int& argc, char** argv, CBxLogger& logger)
        : m_Logger(logger), m_bLogMissing(BX_WantsMissingTexts(argc, argv)), m_Application(argc, argv) {
        std::setlocale(LC_NUMERIC, "C");  // the application has taken over the user's
    }

    int Run() {
        const CBxStopSignals stopSignals([this] { Stop(); });
        LoadSettings();
        m_pSplash = BX_ShowSplash(m_Config);
        OpenLog();
        BX_StartLocalization(m_Config, m_bLogMissing);
        BX_LoadPictureDecoders();
        StartWindow();
        const int code = m_bStopped ? 0 : QApplication::exec();
        m_Application.RethrowFault();
        SaveSettings();
        return code;
    }

private:
    void LoadSettings() {
        BX_BuildFolders(m_Config);
        BX_JoinPath(m_szSettingsPath, m_Config.m_szDataFolder, "veridaneapp.conf");
        m_Marker.Begin(m_Config.m_szDataFolder);
        if (!m_Marker.DoOthersRun()) {
            BX_RemoveLeftoverFiles(m_Config.m_szDataFolder);  // of a copy that was killed while it saved its settings
        }
        SBxVRDConfig::LoadConfiguration(m_Config, m_szSettingsPath);
        // The marker of a copy that still runs is no crash.
        m_Config.m_bCrashedAtLastRun = m_Config.m_bCrashedLastTime && !m_Marker.DoOthersRun();
        m_Config.m_bCrashedLastTime = true;
        SBxVRDConfig::SaveConfiguration(m_Config, m_szSettingsPath);
    }

    void OpenLog() {
        BX_BuildLogFolder(m_Config);
        char path[kBxPathBytes];
        BX_JoinPath(path, m_Config.m_szLogFolder, "vrd.log");
        m_Logger.OpenLog(path, false, m_Config.m_bLogEnabled);
        m_Logger.EnableLogging(m_Config.m_bLogEnabled, m_Config.m_bLogDetailEnabled, false, false);
        SetAllLoggers(&m_Logger);
        const QStringList libraryPaths = QApplication::libraryPaths();
        for (qsizetype i = 0; i < libraryPaths.size(); ++i) {
            m_Logger.LogInfoDetail("Library path[%d]=%s:", static_cast<int>(i) + 1,
                                   libraryPaths[i].toUtf8().constData());
        }
    }

    void StartWindow() {
        Wait();
        m_Logger.LogInfo("Starting GUI..");
        m_pWindow = std::make_unique<CBxVeridaneGui>(nullptr, &m_Config);
        Wait();
        m_pSplash->finish(nullptr);  // given a window that is not shown yet, it would wait a second for it in vain
        m_pWindow->show();
        m_Logger.LogInfo("GUI started.");
        const QString picture = BX_GetPictureArgument(QApplication::arguments());
        if (!picture.isEmpty()) {
            QTimer::singleShot(0, m_pWindow.get(), [this, picture] { m_pWindow->OpenPicture(picture); });
        }
    }

    // The splash picture is to be seen. A stop ends the waiting.
    void Wait() {
        if (m_bStopped) {
            return;
        }
        QEventLoop loop;
        m_pWaiting = &loop;
        QTimer::singleShot(kSplashMilliseconds, &loop, &QEventLoop::quit);
        loop.exec(QEventLoop::ExcludeUserInputEvents);
        m_pWaiting = nullptr;
    }

    void Stop() {
        m_bStopped = true;
        if (m_pWaiting != nullptr) {
            m_pWaiting->quit();
        } else if (m_pWindow != nullptr) {
            m_pWindow->EndNow();
        }
    }

    void SaveSettings() {
        m_Logger.LogInfo("Saving configuration..");
        m_Config.m_bCrashedLastTime = m_Marker.DoOthersRun();
        if (SBxVRDConfig::SaveConfiguration(m_Config, m_szSettingsPath) == 0) {
            m_Logger.LogInfo("Configuration saved.");
        } else {
            m_Logger.LogError("Error while saving the configuration!");
        }
    }

    CBxLogger& m_Logger;
    bool m_bLogMissing;
    CBxApplication m_Application;
    CBxRunMarker m_Marker;
    SBxVRDConfig m_Config;
    char m_szSettingsPath[kBxPathBytes] = "";
    bool m_bStopped = false;
    QEventLoop* m_pWaiting = nullptr;
    std::unique_ptr<QSplashScreen> m_pSplash;
    std::unique_ptr<CBxVeridaneGui> m_pWindow;
};

// Whether the file is of a version that this program understands; `version` gets what it says.
bool HasGoodVersion(const char* path, char (&version)[kValueBytes]) {
    const unsigned char missing =
        CBxConfParser::GetPrivateProfileStringA("General", "Version", "0", version, kValueBytes, path, nullptr);
    return missing == 0 && std::strtod(version, nullptr) >= kLeastVersion;
}

void ReadLanguage(const SBxVRDConfig& config, bool logMissing) {
    char section[kValueBytes];
    std::snprintf(section, sizeof(section), "%d", config.m_iLangIndex);
    char acronym[CBxLocalization::kAcronymBytes] = "";
    if (CBxConfParser::GetPrivateProfileStringA(section, "Acronym", "eng", acronym, sizeof(acronym),
                                                config.m_szLocalizationPath, nullptr) != 0) {
        CBxVeridaneGui::LogError("Cannot read the current language acronym! (Wrong file format?)");
        return;
    }
    CBxLocalization::Init(logMissing);
    const bool isRead = CBxLocalization::ReadLocalization(config.m_szLocalizationPath, acronym) == 0;
    BX_LoadQtTexts(acronym);
    if (isRead) {
        CBxVeridaneGui::LogInfo("Localization successfully read.");
    } else {
        CBxVeridaneGui::LogError("Localization was read with errors.");
    }
}

}  // namespace

bool BX_WantsMissingTexts(int argc, const char* const* argv) {
    bool wants = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], kMissingTextsOption) == 0) {
            wants = true;
            ++i;
        }
    }
    return wants;
}

QString BX_GetPictureArgument(const QStringList& arguments) {
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        if (!arguments[i].startsWith('-')) {
            const QUrl url(arguments[i]);
            return url.isLocalFile() ? url.toLocalFile() : arguments[i];
        }
    }
    return QString();
}

void BX_StartLocalization(SBxVRDConfig& config, bool logMissing) {
    char path[kBxPathBytes];
    BX_JoinPath(path, config.m_szBundleFolder, "Veridane_loc.ini");
    CBxVeridaneGui::LogInfo("Reading the localization file %s..", path);
    if (!BX_ExistsFile(path)) {
        CBxVeridaneGui::LogError("Localization file not found!");
        return;
    }
    std::memcpy(config.m_szLocalizationPath, path, sizeof(path));
    CBxVeridaneGui::LogInfo("Checking the localization file version...");
    char version[kValueBytes] = "";
    config.m_bLocalizationValid = HasGoodVersion(path, version);
    if (!config.m_bLocalizationValid) {
        CBxVeridaneGui::LogError("Wrong file version: %s (should be >=3.0)! Cannot localize Veridane.", version);
        return;
    }
    CBxVeridaneGui::LogInfo("The file version is OK.");
    ReadLanguage(config, logMissing);
    SBxVRDConfig::LoadLanguages(config, path);
}

int BX_RunApplication(int argc, char** argv) {
    // The toolkit would compile patterns into memory that is writable and executable at once.
    ::setenv("QT_ENABLE_REGEXP_JIT", "0", 0);
    CBxLogger logger;
    int code = kExceptionCode;
    try {
        CBxRun run(argc, argv, logger);
        code = run.Run();
    } catch (const std::exception& exception) {
        logger.LogError("The application was terminated due to exception: %s", exception.what());
    }
    CBxLocalization::Finish();
    logger.LogInfo("Application finished.");
    SetAllLoggers(nullptr);
    logger.CloseLog();
    return code;
}
