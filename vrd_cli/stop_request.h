// Ctrl-C and the polite request to end.
#pragma once

// From here on SIGINT, SIGTERM and SIGHUP are remembered instead of ending the process; the second of a kind ends it at
// once. A signal that the caller of the program ignores stays ignored.
void BX_CatchStopSignals();

// The number of the signal that came, 0 while none did. Looked at before every step of a command.
int BX_GetStopSignal();
inline bool BX_IsStopRequested() {
    return BX_GetStopSignal() != 0;
}
