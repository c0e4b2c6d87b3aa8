// The workers for the open picture. The window owns one of each and uses it for every run; what it gave them it leaves
// alone until `finished`.
#pragma once

#include <QThread>
#include <atomic>
#include <memory>
#include <string>

#include "picture_search.h"
#include "single_runs.h"

class CBxVeridaneGui;

// Hides a sign in a copy of the window's picture. All work on the engine's default run, where the window finds the
// progress and asks for the end.
class CBxSignThread : public QThread {
    Q_OBJECT

public:
    explicit CBxSignThread(CBxVeridaneGui* mainWindow, QObject* parent = nullptr)
        : QThread(parent), m_pMainWindow(mainWindow) {}

    // Nothing without a main window.
    void run() override;

    CBxVeridaneGui* m_pMainWindow;

    // Given before the start.
    char m_szSignText[CBxSignOp::kFoundTextBytes] = "";
    std::atomic<bool> m_bCancelled{false};  // may be set at any time

    // Read after `finished`.
    bool m_bStatus = true;  // false is success
    char m_szFoundText[CBxSignOp::kFoundTextBytes] = "";
    bool m_bAlreadySigned = false;
    SBxSignedPicture m_Signed;
};

// Looks for a sign in the window's picture, and then, in a run of its own, harder.
class CBxDetectThread : public QThread {
    Q_OBJECT

public:
    explicit CBxDetectThread(CBxVeridaneGui* mainWindow, QObject* parent = nullptr)
        : QThread(parent), m_pMainWindow(mainWindow) {}

    // Nothing without a main window.
    void run() override;

    CBxVeridaneGui* m_pMainWindow;

    // Given before the start: whether to search harder in the picture that the run before has searched in vain.
    bool m_bHarder = false;

    // Read after `finished`.
    bool m_bStatus = true;  // false is success
    char m_szDetectedText[CBxSignOp::kFoundTextBytes] = "";
    bool m_bSignFound = false;
    SBxSearchResult m_Found;
    std::unique_ptr<CBxCornerArchive> m_pCorners;  // for the harder search; null where memory was short
};

// Saves the picture that the request names.
class CBxSaveThread : public QThread {
    Q_OBJECT

public:
    explicit CBxSaveThread(QObject* parent = nullptr) : QThread(parent) {}

    void run() override;

    // Given before the start.
    SBxSaveRequest m_Request;
    std::atomic<bool> m_bCancelled{false};  // may be set at any time

    // Read after `finished`.
    SBxSaveOutcome m_Outcome;
};
