#include "decoder_messages.h"

#include <QtGlobal>
#include <cstring>
#include <mutex>
#include <utility>

namespace {

constexpr qsizetype kMostCharacters = 400;

QtMessageHandler g_previousHandler = nullptr;

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

void CBxDecoderMessages::Install() {
    static std::once_flag installed;
    std::call_once(installed, [] { g_previousHandler = qInstallMessageHandler(&CBxDecoderMessages::Handle); });
}

void CBxDecoderMessages::Handle(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    const bool fromDecoder = context.category != nullptr && std::strncmp(context.category, "qt.gui.imageio", 14) == 0;
    CBxDecoderMessages* collector = m_pInnermost;
    if (collector == nullptr || !fromDecoder || type == QtFatalMsg) {
        if (g_previousHandler != nullptr) {
            g_previousHandler(type, context, message);
        }
        return;
    }
    if (collector->m_Text.size() < kMostCharacters) {
        collector->m_Text += collector->m_Text.isEmpty() ? QString() : QStringLiteral("; ");
        collector->m_Text += message.left(kMostCharacters);
    }
}
