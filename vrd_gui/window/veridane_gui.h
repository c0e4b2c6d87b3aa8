// The main window: shows the open picture and starts everything that can be done with it.
#pragma once

#include <QMainWindow>
#include <QMutex>
#include <QTimer>

#include "batch_threads.h"
#include "class_log.h"
#include "main_window_form.h"
#include "open_picture.h"
#include "picture_threads.h"
#include "picture_view.h"
#include "progress_dlgs.h"
#include "remaining_time.h"
#include "run_progress.h"
#include "single_runs.h"
#include "survive_thread.h"
#include "vrd_config.h"

// Belongs to the thread of the application. One worker runs at a time, behind a modal progress dialog; meanwhile the
// window touches neither the picture nor what the worker was given. A signing works on a copy, which takes the
// picture's place when it has succeeded.
//
//   MainWindow             menus, tool bar, status bar (main_window_form)
//     CBxScrollArea        mouse, wheel, dropped files (picture_view)
//       CBxImageArea       paints
class CBxVeridaneGui : public QMainWindow, public CBxClassLog<CBxVeridaneGui> {
    Q_OBJECT

public:
    using CBxScrollArea = ::CBxScrollArea;
    using CBxImageArea = ::CBxImageArea;
    using SBxViewGeometry = ::SBxViewGeometry;

    // The settings stay the caller's and outlive the window.
    CBxVeridaneGui(QWidget* parent, SBxVRDConfig* config);
    ~CBxVeridaneGui() override;

    // Opens a file in place of the picture. False when the user wants to keep that, and when the file cannot be read,
    // which he is told; the picture then stays.
    bool OpenPicture(const QString& path);

    // Ends the program now, asking nothing: stops what runs, and remembers what is to be remembered.
    void EndNow();

    // Tries which of these changes a sign in the open picture survives.
    void StartSurvival(const std::vector<SBxTrial>& trials);

    // For the workers.
    SBxPicBuf& CurrentPicture() { return m_Open.picture.Pic(); }
    const SBxVRDConfig& Config() const { return *m_pConfig; }
    CBxRunProgress& BatchProgress() { return m_BatchProgress; }

public slots:
    // ---- files (file_actions.cpp, save_actions.cpp) ----
    void OnOpenFile();
    void OnSaveImage();
    void OnCloseImage();
    void OnReloadImage();

    // ---- view (view_actions.cpp) ----
    void OnZoomIn();
    void OnZoomOut();
    void OnFitToWindow();
    void OnOriginalSize();
    void OnComboActivated(int index);
    void OnComboTextChanged();
    void OnMoveLeft();
    void OnMoveRight();
    void OnMoveUp();
    void OnMoveDown();

    // ---- runs on the open picture (run_actions.cpp) ----
    void OnSignImage();
    void OnDetectSign();
    // Looks harder in the picture that OnDetectSign has just searched in vain.
    void OnSearchHarder();
    void OnDetectCanceled();
    void OnTimer();
    void OnSignThreadFinished();
    void OnDetectThreadFinished();

    // ---- runs on folders and documents (batch_actions.cpp) ----
    void OnBatchSign();
    void OnBatchDetect();
    void OnPDFDetect();
    void OnBatchSignCanceled();
    void OnBatchDetectCanceled();
    void OnPDFDetectCanceled();
    void OnBatchSignFinished();
    void OnBatchDetectFinished();
    void OnPDFDetectFinished();

    // ---- what a sign survives (survive_action.cpp) ----
    void OnSurvive();
    void OnSurviveCanceled();
    void OnSurviveFinished();

    // ---- the rest (info_actions.cpp) ----
    void OnAppSettings();
    void OnWeb();
    void OnAbout();
    void OnHelp();
    void OnGettingStarted();

signals:
    // A run, or the saving of the picture, is over and its dialogs are closed.
    void RunEnded();

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    // ---- wiring (veridane_gui.cpp) ----
    void ConnectActions();
    void ConnectView();
    void RestorePlace();
    void RememberPlace();
    void RetranslateUi();
    void UpdateWindowTitle();
    void UpdateStatusBar();
    void UpdateActions();
    void WarnAboutCrash();
    void SetNote(const QString& text);

    // ---- files ----
    bool ReadPicture(const QString& path);
    void TakePicture(SBxOpenPicture&& picture);
    bool MayGiveUpPicture();
    void SetLatestFolder(const QString& path);
    QString AskForTarget();
    bool AskForQuality();
    // Writes the file behind a progress dialog.
    SBxSaveOutcome SaveTo(const QString& path);
    bool IsTargetGood(const QString& path);
    // Whether the saving is over: it was kept, or told and not to be tried again.
    bool TellSaveOutcome(const QString& path, const SBxSaveOutcome& outcome);
    void NoteWhatIsMissing(const SBxFileReport& report);

    // ---- runs ----
    void BeginRun();
    void EndRun();
    bool IsRunning() const;
    void ShowSignedAreas();
    void TellSignFault(EBxSignFault fault);
    void StartDetection(bool isHarder);
    void ShowFinding();
    void ShowNothingFound();
    void SetZoomFromText(QString text);
    void MoveView(double right, double down);

    // ---- runs on folders and documents ----
    void StartBatch(QThread& thread, const QString& title, const char* cancelSlot);
    void ShowBatchProgress();
    void EndBatch(QThread& thread);
    void ShowBatchResult(const std::string& message, const SBxRunOutcome& outcome);

    SBxVRDConfig* m_pConfig;
    Ui_MainWindow m_Form;
    SBxOpenPicture m_Open;
    QString m_ShownZoom;  // as the zoom box was last told
    bool m_bCrashWarned = false;
    bool m_bEnding = false;  // EndNow was called

    QTimer m_Timer;  // polls the progress
    CBxSimpleProgressDlg* m_pProgressDlg = nullptr;
    bool m_bCancelled = false;
    CBxSignThread m_SignThread;
    CBxDetectThread m_DetectThread;
    CBxSaveThread m_SaveThread;

    CBxRunProgress m_BatchProgress;  // of the worker for folders or documents that runs
    CBxRemainingTime m_RemainingTime;
    CBxBatchProgressDlg* m_pBatchProgressDlg = nullptr;
    CBxBatchSignThread m_BatchSignThread;
    CBxBatchDetectThread m_BatchDetectThread;
    CBxPDFDetectThread m_PDFDetectThread;
    CBxSurviveThread m_SurviveThread;
};
