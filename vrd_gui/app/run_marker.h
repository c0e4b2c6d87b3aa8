// Tells whether other copies of the program run for the same user.
#pragma once

#include "base_files.h"

// Holds a lock on a file of the data folder for as long as it lives; the system gives it up when the process ends,
// however it ends. Where the lock cannot be had, this copy counts as the only one.
class CBxRunMarker {
public:
    CBxRunMarker() = default;
    ~CBxRunMarker();
    CBxRunMarker(const CBxRunMarker&) = delete;
    CBxRunMarker& operator=(const CBxRunMarker&) = delete;

    // `dataFolder` ends with "/".
    void Begin(const char* dataFolder);

    bool DoOthersRun() const;

private:
    int m_iDescriptor = -1;
};
