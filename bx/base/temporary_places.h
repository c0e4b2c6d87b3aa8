// What is to be taken away when the program has to end at once.
#pragma once

// While the object lives, BX_RemoveTemporaryPlaces removes what its path names. An empty path names nothing. There is
// room for 64 at a time; further ones stay where the program ends without its destructors.
class CBxTemporaryPlace {
public:
    enum class EKind { File, FolderWithFiles };

    // `path` belongs to the caller, who may change it, and has to outlive this object.
    CBxTemporaryPlace(const char* path, EKind kind);
    ~CBxTemporaryPlace();
    CBxTemporaryPlace(const CBxTemporaryPlace&) = delete;
    CBxTemporaryPlace& operator=(const CBxTemporaryPlace&) = delete;

private:
    int m_iSlot = -1;
};

// Removes the files in a folder of this process, and the folder itself when nothing else is in it. Takes no memory.
void BX_RemoveFolderWithFiles(const char* path);

// Removes what killed programs have left of CBxFileReplacement in a folder that belongs to this program alone: regular
// files of this user named .veridane-<16 hex digits><ending>. Nobody else may be writing there.
void BX_RemoveLeftoverFiles(const char* folder);

// For a handler that ends the process without unwinding: takes no memory and no lock. Folders that hold folders stay.
void BX_RemoveTemporaryPlaces();
