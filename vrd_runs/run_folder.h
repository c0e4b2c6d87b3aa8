// Folders that a run makes for its temporary files and takes away again.
#pragma once

#include <optional>
#include <string>

#include "temporary_places.h"

// A folder of one run's own, named <parent>/.veridane-run-<16 hex digits>/ and readable by nobody else. It is gone at
// the end of the object with the files in it. The run of a process that was killed leaves its folder behind; the lock
// that every run holds on its folder tells the folder of a dead run from that of a living one.
class CBxRunFolder {
public:
    CBxRunFolder() = default;
    ~CBxRunFolder();
    CBxRunFolder(const CBxRunFolder&) = delete;
    CBxRunFolder& operator=(const CBxRunFolder&) = delete;

    // `parent` ends with "/". False with the reason.
    bool Create(const std::string& parent, std::string& reason);

    // With "/" at its end; empty before Create.
    const std::string& Path() const { return m_strPath; }

    // Removes what dead runs of this user left in `parent`: folders of that name with nothing but files in them.
    static void RemoveLeftovers(const std::string& parent);

private:
    std::string m_strPath;
    int m_iDescriptor = -1;  // of the folder, locked
    std::optional<CBxTemporaryPlace> m_Place;
};

// The program's folder for temporary files: the wanted one, or one of another name in the same place when another
// user's folder, a link or a file has that name.
class CBxPrivateFolder {
public:
    CBxPrivateFolder() = default;
    ~CBxPrivateFolder();
    CBxPrivateFolder(const CBxPrivateFolder&) = delete;
    CBxPrivateFolder& operator=(const CBxPrivateFolder&) = delete;

    // Makes it, if need be, and makes sure that it is a folder of this user into which nobody else sees. `wanted` ends
    // with "/". False with the reason.
    bool Open(const std::string& wanted, std::string& reason);

    // With "/" at its end.
    const std::string& Path() const { return m_strPath; }

private:
    std::string m_strPath;
    bool m_bIsForOnce = false;  // nobody finds it again, so that it is removed at the end
};
