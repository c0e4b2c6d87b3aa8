// Runs another program to its end.
#pragma once

#include <functional>
#include <string>
#include <vector>

enum class EBxChildEnd {
    kExited,
    kNotStarted,
    kTooSlow,    // it was ended after the time limit
    kCancelled,  // it was ended because of a wish of the caller
    kCrashed,    // a signal ended it
};

struct SBxChildResult {
    EBxChildEnd end = EBxChildEnd::kNotStarted;
    int exitStatus = 0;  // of kExited; of kCrashed the signal
    std::string output;  // the beginning of what it printed on both channels, at most kMostChildOutput bytes
    std::string reason;  // of kNotStarted
};

inline constexpr std::size_t kMostChildOutput = 2000;
inline constexpr int kChildStartMilliseconds = 30000;
inline constexpr int kChildMilliseconds = 30000;

// Starts `program`, an absolute path, without a shell, and waits until it ends, at most `milliseconds`. It reads
// nothing (its input is empty), what it prints beyond the limit is dropped, and it inherits no file. Neither it nor
// what it has started in its group is left when this returns; it ends as well when the calling thread does.
SBxChildResult BX_RunChild(const std::string& program, const std::vector<std::string>& arguments,
                           const std::function<bool()>& cancelled, int milliseconds = kChildMilliseconds);
