// Catches what the picture decoders say about a file, so that it reaches the user together with the file's name.
#pragma once

#include <QString>

// While an object of this class lives, messages that Qt's picture plugins send on the same thread are collected instead
// of printed. Everything else goes where it went before. Objects may be nested; the innermost one collects.
class CBxDecoderMessages {
public:
    CBxDecoderMessages();
    ~CBxDecoderMessages();
    CBxDecoderMessages(const CBxDecoderMessages&) = delete;
    CBxDecoderMessages& operator=(const CBxDecoderMessages&) = delete;

    bool IsEmpty() const { return m_Text.isEmpty(); }
    // The messages so far, joined by "; ". Bounded; empties the collection.
    QString Take();

private:
    static void Handle(QtMsgType type, const QMessageLogContext& context, const QString& message);
    static void Install();

    static thread_local CBxDecoderMessages* m_pInnermost;

    CBxDecoderMessages* m_pOuter;
    QString m_Text;
};
