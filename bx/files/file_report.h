// What a user is told about a picture file that was read or written.
#pragma once

// Filled by the operations on picture files beside their result. Texts are UTF-8 as far as the system's own are, start
// with a small letter, carry no file name and no full stop, and are cut where they do not fit.
struct SBxFileReport {
    static constexpr unsigned int kTextBytes = 500;

    char m_szReason[kTextBytes] = "";   // why it failed; empty after success
    char m_szWarning[kTextBytes] = "";  // what is odd about a file that was read all the same; mostly empty

    // Of writing: what the source has and the written file lacks. After a failure only the metadata that it was about.
    bool m_bLacksProfile = false;
    bool m_bLacksExif = false;
    bool m_bLacksIptc = false;

    // Both keep the first text that they are given: what is told first is nearest to the cause.
    void SetReason(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void SetWarning(const char* format, ...) __attribute__((format(printf, 2, 3)));

    bool HasWarning() const { return m_szWarning[0] != '\0'; }
};
