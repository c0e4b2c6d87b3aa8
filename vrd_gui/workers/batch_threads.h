// The workers for folders and documents. The window owns one of each and uses it for every run; what it gave them it
// leaves alone until `finished`. How far they are stands in the window's progress, where they are cancelled too.
#pragma once

#include <QThread>

#include "base_files.h"
#include "batch_detect.h"
#include "batch_sign.h"
#include "pdf_detect.h"
#include "sign_op.h"

class CBxVeridaneGui;

// Signs the files of a folder.
class CBxBatchSignThread : public QThread {
    Q_OBJECT

public:
    explicit CBxBatchSignThread(CBxVeridaneGui* mainWindow, QObject* parent = nullptr)
        : QThread(parent), m_pMainWindow(mainWindow) {}

    // Nothing without a main window.
    void run() override;

    CBxVeridaneGui* m_pMainWindow;

    // Given before the start.
    char m_szSignText[CBxSignOp::kFoundTextBytes] = "";
    char m_szInputFolder[kBxPathBytes] = "";

    // Read after `finished`; new for each run.
    SBxBatchSignOutcome m_Outcome;
};

// Looks for signs in the files of a folder.
class CBxBatchDetectThread : public QThread {
    Q_OBJECT

public:
    explicit CBxBatchDetectThread(CBxVeridaneGui* mainWindow, QObject* parent = nullptr)
        : QThread(parent), m_pMainWindow(mainWindow) {}

    // Nothing without a main window.
    void run() override;

    CBxVeridaneGui* m_pMainWindow;

    // Given before the start.
    char m_szInputFolder[kBxPathBytes] = "";
    bool m_bHarder = false;  // search harder where nothing is found

    // Read after `finished`; new for each run.
    SBxBatchDetectOutcome m_Outcome;
};

// Looks for signs in the pictures of a PDF document.
class CBxPDFDetectThread : public QThread {
    Q_OBJECT

public:
    explicit CBxPDFDetectThread(CBxVeridaneGui* mainWindow, QObject* parent = nullptr)
        : QThread(parent), m_pMainWindow(mainWindow) {}

    // Nothing without a main window.
    void run() override;

    CBxVeridaneGui* m_pMainWindow;

    // Given before the start.
    char m_szPdfPath[kBxPathBytes] = "";
    bool m_bHarder = false;  // search harder where nothing is found

    // Read after `finished`; new for each run.
    SBxPdfDetectOutcome m_Outcome;
};
