// Runs over folders and documents that a test makes.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QImage>
#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "convert_picture.h"
#include "picture_search.h"
#include "result.h"
#include "run_context.h"
#include "temporary_folder.h"

// Pieces of a sample photograph, small enough to be signed in no time, that take a sign in different ways.
namespace pieces {
inline constexpr QRect kGood(60, 20, 220, 200);            // a JPEG of quality 90 carries it
inline constexpr QRect kNeedsBitmap(200, 60, 48, 48);      // no JPEG carries it
inline constexpr QRect kCarriesNothing(100, 100, 24, 24);  // not even without loss
}  // namespace pieces

class CRunsTest : public testing::Test {
protected:
    static constexpr char kSign[] = "Veri-2026x";

    static QImage Piece(const QRect& where) { return QImage(VERIDANE_SAMPLES "/coffee.png").copy(where); }

    void WritePiece(const std::string& name, const QRect& where) {
        ASSERT_TRUE(Piece(where).save(QString::fromStdString(m_Folder / name), nullptr, 100)) << name;
    }

    SBxRunContext Context(int threads = 1, int quality = 90) {
        return {m_Progress, threads, quality, m_Bundle.Path() + "/", m_Temporary / "work/", nullptr};
    }

    // The sign in a file; empty without one, "unreadable" when it cannot be read.
    static std::string SignIn(const std::string& path) {
        SBxPicBuf* picture = nullptr;
        const int result = CBxConvertPicture::ReadInputFile(picture, path.c_str());
        const CBxPicBufHolder holder(picture);
        SBxSignRun run;
        return result != kBxSuccess ? "unreadable" : BX_SearchPicture(run, *picture, 1).sign;
    }

    // The messages of a log without their times: "INFO | text".
    static std::vector<std::string> LinesOf(const std::string& log) {
        std::vector<std::string> lines;
        std::istringstream stream(ReadBytes(log));
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line.substr(std::min(line.size(), line.find('|') + 1)));
        }
        return lines;
    }

    // Names in a folder, hidden ones included, in alphabetical order.
    static std::vector<std::string> NamesIn(const std::string& folder) {
        std::vector<std::string> names;
        for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(folder)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    CTemporaryFolder m_Folder;
    CTemporaryFolder m_Bundle;
    CTemporaryFolder m_Temporary;
    CBxRunProgress m_Progress;
};
