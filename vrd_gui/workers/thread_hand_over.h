// Tells the thread sanitizer what Qt's threads guarantee: that what was written before a start is seen by the thread,
// and what the thread wrote by those who waited for its end. Qt's own library is not instrumented, so the sanitizer
// cannot see it there. Without the sanitizer all of this is nothing.
#pragma once

#include <QThread>

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the sanitizer's own names
#if defined(__SANITIZE_THREAD__)
extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
#else
inline void __tsan_acquire(void*) {}
inline void __tsan_release(void*) {}
#endif
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

// Starts the thread with the priority of the caller.
inline void BX_StartThread(QThread& thread) {
    __tsan_release(&thread);
    thread.start(QThread::InheritPriority);
}

// In the slot of `finished`, or in place of wait: afterwards the thread's results may be read.
inline void BX_CollectThread(QThread& thread) {
    thread.wait();
    __tsan_acquire(&thread);
}

// Stands first in run().
class CBxThreadRun {
public:
    explicit CBxThreadRun(QThread* thread) : m_pThread(thread) { __tsan_acquire(m_pThread); }
    ~CBxThreadRun() { __tsan_release(m_pThread); }
    CBxThreadRun(const CBxThreadRun&) = delete;
    CBxThreadRun& operator=(const CBxThreadRun&) = delete;

private:
    QThread* m_pThread;
};
