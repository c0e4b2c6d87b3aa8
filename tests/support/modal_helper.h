// Acts on modal dialogs in the place of the user.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <deque>
#include <functional>
#include <typeinfo>

// The dialogs that a call will open, and what the user does with each, in this order:
//
//     CModalActs user;
//     user.On<CBxInputSignDlg>([](CBxInputSignDlg& dialog) { dialog.accept(); });
//     user.On<QMessageBox>([](QMessageBox& box) { box.accept(); });
//     window.OnSignImage();
//
// An act waits until a visible modal window of its type is there, one that opens while an earlier act still runs
// included. When none comes within the limit, or a modal window is still open long after the last act, the test fails
// and all modal windows are closed, so that no exec() hangs. At the end of the scope every act must have been done.
class CModalActs {
public:
    static constexpr int kPollMilliseconds = 5;
    static constexpr int kLimitMilliseconds = 60000;  // with a sanitizer and on a busy machine a search takes long
    static constexpr int kEndMilliseconds = 60000;

    CModalActs() = default;
    ~CModalActs() {
        for (const SAct& act : m_Acts) {
            ADD_FAILURE() << "no dialog came for the act on " << act.type;
        }
    }
    CModalActs(const CModalActs&) = delete;
    CModalActs& operator=(const CModalActs&) = delete;

    template <typename Dialog>
    void On(std::function<void(Dialog&)> act) {
        m_Acts.push_back({typeid(Dialog).name(), [act = std::move(act)](QWidget* modal) -> std::function<void()> {
                              auto* const dialog = dynamic_cast<Dialog*>(modal);
                              return dialog == nullptr ? std::function<void()>() : [act, dialog] { act(*dialog); };
                          }});
        if (m_Acts.size() == 1) {
            m_Waiting.start();
        }
        if (!m_IsPolling) {
            Wait();
        }
    }

    // All acts are done.
    bool Done() const { return m_Acts.empty(); }

private:
    struct SAct {
        const char* type;
        std::function<std::function<void()>(QWidget*)> match;  // what to do with this window; empty: not the one
    };

    void Wait() {
        m_IsPolling = true;
        m_Waiting.start();
        Poll();
    }

    // A timer of its own each time: one whose handler still runs does not fire in the event loop of the next dialog.
    void Poll() {
        QTimer::singleShot(kPollMilliseconds, &m_Receiver, [this] { Look(); });
    }

    void Look() {
        QWidget* const modal = QApplication::activeModalWidget();
        if (m_Acts.empty()) {
            LookForEnd(modal);
            return;
        }
        const bool visible = modal != nullptr && modal->isVisible();
        if (std::function<void()> act = visible ? m_Acts.front().match(modal) : std::function<void()>()) {
            m_Acts.pop_front();
            Wait();
            act();
        } else if (m_Waiting.elapsed() < kLimitMilliseconds) {
            Poll();
        } else {
            GiveUp(m_Acts.front().type);
        }
    }

    void LookForEnd(const QWidget* modal) {
        if (modal != nullptr && m_Waiting.elapsed() < kEndMilliseconds) {
            Poll();
        } else if (modal != nullptr) {
            GiveUp(modal->metaObject()->className());
        } else {
            m_IsPolling = false;
        }
    }

    void GiveUp(const char* type) {
        ADD_FAILURE() << "waited in vain for the coming or going of " << type;
        m_Acts.clear();
        m_IsPolling = false;
        CloseAll();
    }

    // Some dialogs stay open until they are hidden, and others come up when one closes.
    void CloseAll() {
        if (QWidget* const modal = QApplication::activeModalWidget()) {
            modal->hide();
            QTimer::singleShot(kPollMilliseconds, &m_Receiver, [this] { CloseAll(); });
        }
    }

    std::deque<SAct> m_Acts;
    QElapsedTimer m_Waiting;
    bool m_IsPolling = false;
    QObject m_Receiver;  // last, so that no timer fires into a half-destroyed object
};
