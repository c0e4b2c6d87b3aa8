// The worker that tries what a sign in the open picture survives.
#pragma once

#include <QThread>
#include <string>
#include <vector>

#include "survival.h"

class CBxVeridaneGui;

// Its progress stands in the window's batch progress, where it is cancelled too.
class CBxSurviveThread : public QThread {
    Q_OBJECT

public:
    explicit CBxSurviveThread(CBxVeridaneGui* mainWindow, QObject* parent = nullptr)
        : QThread(parent), m_pMainWindow(mainWindow) {}

    // Nothing without a main window.
    void run() override;

    CBxVeridaneGui* m_pMainWindow;

    // Given before the start.
    std::vector<SBxTrial> m_Trials;
    std::string m_strName;   // of the picture, for people
    int m_iOrientation = 1;  // of the photograph, as in EXIF; the page shows it upright

    // Read after `finished`; new for each run.
    SBxSurvivalOutcome m_Outcome;
    std::string m_strPage;  // empty after a failure
};
