// Opening and closing.
#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>

#include "convert_picture.h"
#include "gui_text.h"
#include "messages.h"
#include "picture_orientation.h"
#include "qt_text.h"
#include "result.h"
#include "veridane_gui.h"

namespace {

constexpr char kOpenPatterns[] = " (*.jpg *.bmp *.tif *.png)";

// The hour-glass, for as long as it lives.
class CBxWaitCursor {
public:
    CBxWaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~CBxWaitCursor() { QApplication::restoreOverrideCursor(); }
    CBxWaitCursor(const CBxWaitCursor&) = delete;
    CBxWaitCursor& operator=(const CBxWaitCursor&) = delete;
};

}  // namespace

void CBxVeridaneGui::OnOpenFile() {
    const QString filters = BX_Text("Images") + kOpenPatterns + ";;" + BX_Text("All files") + " (*)";
    const QString path =
        QFileDialog::getOpenFileName(this, BX_Text("Open..."), QString::fromUtf8(m_pConfig->m_szLatestFolder), filters);
    if (!path.isEmpty()) {
        OpenPicture(path);
    }
}

bool CBxVeridaneGui::OpenPicture(const QString& path) {
    const QString absolute = QFileInfo(path).absoluteFilePath();
    if (IsRunning()) {
        return false;
    }
    SetLatestFolder(absolute);
    return MayGiveUpPicture() && ReadPicture(absolute);
}

void CBxVeridaneGui::OnReloadImage() {
    if (m_Open.IsOpen() && !IsRunning() && MayGiveUpPicture()) {
        ReadPicture(m_Open.path);
    }
}

void CBxVeridaneGui::OnCloseImage() {
    if (m_Open.IsOpen() && !IsRunning() && MayGiveUpPicture()) {
        m_Form.scrollArea->Image().ShowNothing();
        m_Open = SBxOpenPicture();
        SetNote(QString());
        UpdateActions();
        m_Form.comboZoom->setEditText(QString());
    }
}

bool CBxVeridaneGui::ReadPicture(const QString& path) {
    const QByteArray name = path.toUtf8();
    SBxFileReport report;
    SBxOpenPicture read;
    bool isRead = false;
    {
        const CBxWaitCursor wait;
        SBxPicBuf* picture = nullptr;
        isRead = CBxConvertPicture::ReadInputFile(picture, name.constData(), {qRgb(255, 255, 255)}, read.extras,
                                                  report) == kBxSuccess;
        const CBxPicBufHolder holder(picture);
        if (isRead) {
            read.picture = CBxOwnedPic(std::move(*holder));
            read.orientation = BX_ReadOrientation(name.constData());
        }
    }
    if (!isRead) {
        BX_ShowFileFault(this, BX_Text("This file cannot be read:"), path, BX_ReasonText(report.m_szReason));
        return false;
    }
    read.path = path;
    read.source = path;
    const bool isTransparent = read.extras.isTransparent;
    TakePicture(std::move(read));
    if (report.HasWarning()) {
        SetNote(BX_ReasonText(report.m_szWarning));
    } else if (isTransparent) {
        SetNote(BX_Text("Transparent places are shown and saved white."));
    }
    return true;
}

void CBxVeridaneGui::TakePicture(SBxOpenPicture&& picture) {
    m_Form.scrollArea->Image().ShowNothing();  // before the pixels that it draws from go
    m_Open = std::move(picture);
    SetNote(QString());
    UpdateActions();
    m_Form.scrollArea->Image().ShowPicture(CurrentPicture(), m_Open.orientation, true);
    m_Form.scrollArea->setFocus();
}

bool CBxVeridaneGui::MayGiveUpPicture() {
    return !m_Open.isModified || BX_Ask(this, BX_Text("Warning"),
                                        "<b>" + BX_Text("Opened image was signed but not saved.") + "</b><br><br>" +
                                            BX_Text("Do you want to continue without saving?"));
}

void CBxVeridaneGui::SetLatestFolder(const QString& path) {
    const QByteArray folder = QFileInfo(path).absolutePath().toUtf8();
    if (static_cast<std::size_t>(folder.size()) < sizeof(m_pConfig->m_szLatestFolder)) {
        BX_QStringToUTF8(m_pConfig->m_szLatestFolder, sizeof(m_pConfig->m_szLatestFolder), QString::fromUtf8(folder));
    }
}
