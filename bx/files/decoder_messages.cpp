#include "decoder_messages.h"

#include <tiffio.h>

#include <QtGlobal>
#include <cstring>
#include <mutex>
#include <utility>

namespace {

constexpr qsizetype kMostCharacters = 400;

// Written once, before the handlers are called.
QtMessageHandler g_previousHandler = nullptr;
TIFFErrorHandler g_previousTiffError = nullptr;
TIFFErrorHandler g_previousTiffWarning = nullptr;

bool IsOfCategory(const QMessageLogContext& context, const char* start) {
    return context.category != nullptr && std::strncmp(context.category, start, std::strlen(start)) == 0;
}

}  // namespace

thread_local CBxDecoderMessages* CBxDecoderMessages::m_pInnermost = nullptr;

CBxDecoderMessages::CBxDecoderMessages() : m_pOuter(m_pInnermost) {
    Install();
    m_pInnermost = this;
}

CBxDecoderMessages::~CBxDecoderMessages() {
    m_pInnermost = m_pOuter;
}

QString CBxDecoderMessages::Take() {
    return std::exchange(m_Text, QString());
}

void CBxDecoderMessages::Add(const QString& message) {
    if (m_Text.size() < kMostCharacters) {
        m_Text += m_Text.isEmpty() ? QString() : QStringLiteral("; ");
        m_Text += message.left(kMostCharacters);
    }
}

void CBxDecoderMessages::Install() {
    static std::once_flag installed;
    std::call_once(installed, [] {
        g_previousHandler = qInstallMessageHandler(&CBxDecoderMessages::Handle);
        g_previousTiffError = TIFFSetErrorHandler(&CBxDecoderMessages::HandleTiffError);
        g_previousTiffWarning = TIFFSetWarningHandler(&CBxDecoderMessages::HandleTiffWarning);
    });
}

void CBxDecoderMessages::Handle(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    const bool isOfProfile = IsOfCategory(context, "qt.gui.icc");
    if (m_pInnermost == nullptr || type == QtFatalMsg || (!isOfProfile && !IsOfCategory(context, "qt.gui.imageio"))) {
        if (g_previousHandler != nullptr) {
            g_previousHandler(type, context, message);
        }
    } else if (!isOfProfile) {
        m_pInnermost->Add(message);
    }
}

void CBxDecoderMessages::HandleTiffError(const char* module, const char* format, va_list arguments) {
    if (m_pInnermost != nullptr) {
        m_pInnermost->Add(QString::vasprintf(format, arguments));
    } else if (g_previousTiffError != nullptr) {
        g_previousTiffError(module, format, arguments);
    }
}

void CBxDecoderMessages::HandleTiffWarning(const char* module, const char* format, va_list arguments) {
    if (m_pInnermost == nullptr && g_previousTiffWarning != nullptr) {
        g_previousTiffWarning(module, format, arguments);
    }
}
