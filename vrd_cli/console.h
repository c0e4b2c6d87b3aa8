// What `vrd` prints: results on standard output, everything else on standard error.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>

#include "printable_text.h"

// Members of an object keep the order in which they are added.
using CBxJson = nlohmann::ordered_json;

// Prints in one of two forms, as lines of text or as one JSON object a line. One thread at a time.
class CBxConsole {
public:
    CBxConsole(bool json, bool quiet) : m_bJson(json), m_bQuiet(quiet) {}

    bool IsJson() const { return m_bJson; }
    // Whether a progress bar may be drawn: standard error is a terminal and nobody asked for quiet.
    bool ShowsProgress() const;

    // One result; a command calls both, and the form that was not asked for is dropped.
    void Result(const std::string& line);
    void Result(const CBxJson& object);

    // A failure about a file (or about nothing in particular: empty name): in JSON `record` with an "error" on standard
    // output, otherwise "vrd: FILE: REASON" on standard error.
    void Error(const std::string& file, const std::string& reason, CBxJson record = CBxJson::object());

    // A refusal that is a finding as well: `record` as it is in JSON, otherwise as an error.
    void Refusal(const std::string& file, const std::string& reason, const CBxJson& record);

    // Something worth knowing, on standard error; dropped when quiet.
    void Note(const std::string& file, const std::string& text);

    // "12 of 200 files" on standard error, where a bar would be, and away with it again.
    void ShowCount(std::size_t done, std::size_t all, const char* what = "files");
    void WipeCount();

    // False when standard output took not all of it (a full disk, a closed pipe).
    bool Finish();

private:
    bool m_bJson;
    bool m_bQuiet;
};
