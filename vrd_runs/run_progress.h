// How far a run over many pictures is, and the wish to end it.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "sign_run.h"

// What there is to show at one moment. Texts are UTF-8.
struct SBxProgressView {
    bool running = false;
    std::int64_t elapsedMilliseconds = 0;  // since the run began
    std::size_t total = 0;                 // files; 0 while they are not known
    std::size_t processed = 0;             // finished, successfully or not
    std::string current;                   // the picture in work; of several, the one that has been in work longest
    std::string step;                      // what is being done with it
    double percentage = 0.0;               // of that picture
};

// Shared by a run, which reports here, and whoever started it, who looks and may cancel. Any thread may call any
// operation at any time; Clear is for the time between two runs.
class CBxRunProgress {
public:
    CBxRunProgress() = default;
    // `stopAsked` is another way to cancel, asked from several threads.
    explicit CBxRunProgress(std::function<bool()> stopAsked) : m_StopAsked(std::move(stopAsked)) {}

    // ---- for those who start and watch a run ----

    // As new: nothing cancelled, nothing counted.
    void Clear();
    // The run ends soon: the engine stops the pictures in work, and no other is begun.
    void Cancel();
    bool IsCancelled() const;
    SBxProgressView View() const;

    // ---- for the run ----

    // Starts the clock. End leaves the counts as they are.
    void Begin();
    void End();
    void SetTotal(std::size_t total);
    void SetProcessed(std::size_t processed);
    // Shown while no picture is in work.
    void SetTexts(const std::string& current, const std::string& step);

private:
    friend class CBxPictureInWork;
    friend class CBxRunWatch;

    struct SInWork {
        SBxSignRun* run;
        std::string title;
    };

    // Every detection clears the engine's word when it starts, so that a single request could be lost.
    void PassOnCancel();

    const std::function<bool()> m_StopAsked;
    std::atomic<bool> m_bCancelled{false};

    mutable std::mutex m_Mutex;  // guards the rest
    bool m_bRunning = false;
    std::chrono::steady_clock::time_point m_Begin;
    std::size_t m_Total = 0;
    std::size_t m_Processed = 0;
    std::string m_strCurrent;
    std::string m_strStep;
    std::vector<SInWork> m_InWork;  // the oldest first
};

// Shows a picture and the engine's run on it for the time of a scope, and lets the run be cancelled.
class CBxPictureInWork {
public:
    // The engine's run must live longer. `title` is shown as it is.
    CBxPictureInWork(CBxRunProgress& progress, SBxSignRun& run, const std::string& title);
    ~CBxPictureInWork();
    CBxPictureInWork(const CBxPictureInWork&) = delete;
    CBxPictureInWork& operator=(const CBxPictureInWork&) = delete;

private:
    CBxRunProgress& m_Progress;
    SBxSignRun& m_Run;
};

// Marks a run as running, and passes a wish to end it on to the engine, ten times a second, for the time of a scope.
class CBxRunWatch {
public:
    explicit CBxRunWatch(CBxRunProgress& progress);
    ~CBxRunWatch();
    CBxRunWatch(const CBxRunWatch&) = delete;
    CBxRunWatch& operator=(const CBxRunWatch&) = delete;

private:
    void Watch();

    CBxRunProgress& m_Progress;
    std::mutex m_Mutex;
    std::condition_variable m_Ended;
    bool m_bEnded = false;  // guarded by m_Mutex
    std::thread m_Thread;
};
