// Catches what the picture decoders say about a file, so that it reaches the user together with the file's name.
#pragma once

#include <QString>
#include <cstdarg>

// While an object of this class lives, messages that Qt's picture plugins and the TIFF library send on the same thread
// are collected instead of printed. Two kinds are dropped, because they are about no pixel: what the TIFF library warns
// of (tags that it does not know), and what Qt cannot read in a colour profile, which is carried unread. Everything
// else goes where it went before. Objects may be nested; the innermost one collects.
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
    void Add(const QString& message);
    static void Handle(QtMsgType type, const QMessageLogContext& context, const QString& message);
    static void HandleTiffError(const char* module, const char* format, va_list arguments);
    static void HandleTiffWarning(const char* module, const char* format, va_list arguments);
    static void Install();

    static thread_local CBxDecoderMessages* m_pInnermost;

    CBxDecoderMessages* m_pOuter;
    QString m_Text;
};
