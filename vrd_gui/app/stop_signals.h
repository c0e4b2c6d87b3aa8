// Turns the signals that ask a program to end into a call on the window's thread.
#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <functional>
#include <memory>

// SIGTERM, SIGINT and SIGHUP, unless they are ignored. One object at a time; with its end the signals do what they did
// before.
class CBxStopSignals : public QObject {
    Q_OBJECT

public:
    explicit CBxStopSignals(std::function<void()> onStop);
    ~CBxStopSignals() override;

private:
    void TakeSignal();

    std::function<void()> m_OnStop;
    std::unique_ptr<QSocketNotifier> m_pNotifier;
};
