// Runs the built command on pictures made in code.
#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "convert_picture.h"
#include "program_run.h"
#include "temporary_folder.h"
#include "test_pictures.h"

class CVrdTest : public testing::Test {
protected:
    static constexpr char kSign[] = "Veri-2026x";

    // The folder holds photo.png, a picture without a sign, and signed.jpg, the same with kSign; both made once.
    static void SetUpTestSuite() {
        m_pShared = new CTemporaryFolder;
        CBxOwnedPic photo = MakeTexturedPicture(420, 380, 11);
        m_bPhotoWritten = CBxConvertPicture::WriteOutputFile(&photo.Pic(), Photo().c_str(), -1, nullptr) == 0;
        m_SigningRun = RunVrd({"sign", "--json", Photo(), "-s", kSign, "-o", Signed()});
    }

    // Not in the set-up of the suite: tests are skipped, and so pass, when that fails.
    void SetUp() override {
        ASSERT_TRUE(m_bPhotoWritten);
        ASSERT_EQ(m_SigningRun.status, 0) << m_SigningRun.err << m_SigningRun.out;
    }

    static void TearDownTestSuite() {
        delete m_pShared;
        m_pShared = nullptr;
    }

    static std::string Photo() { return *m_pShared / "photo.png"; }
    static std::string Signed() { return *m_pShared / "signed.jpg"; }

    static SProgramRun RunVrd(std::vector<std::string> words, const std::string& folder = "",
                              const std::string& outputFile = "") {
        words.insert(words.begin(), VERIDANE_BIN "/vrd");
        return RunProgram(words, folder, outputFile);
    }

    // A picture of one colour, which is searched in no time and holds no sign.
    static void WritePlain(const std::string& path, int width = 24, int height = 16) {
        CBxOwnedPic picture;
        ASSERT_EQ(picture.Allocate(width, height, 3, 8), 0);
        CBxPicBufAPI::SetConst(picture.Pic(), 100);
        ASSERT_EQ(CBxConvertPicture::WriteOutputFile(&picture.Pic(), path.c_str(), -1, nullptr), 0);
    }

    // Every line of the output as an object.
    static std::vector<nlohmann::json> Lines(const std::string& text) {
        std::vector<nlohmann::json> objects;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            objects.push_back(nlohmann::json::parse(line));
        }
        return objects;
    }

    static nlohmann::json OneLine(const SProgramRun& run) {
        const std::vector<nlohmann::json> objects = Lines(run.out);
        EXPECT_EQ(objects.size(), 1U) << run.out << run.err;
        return objects.empty() ? nlohmann::json() : objects.front();
    }

    static inline CTemporaryFolder* m_pShared = nullptr;
    static inline SProgramRun m_SigningRun;
    static inline bool m_bPhotoWritten = false;

    CTemporaryFolder m_Folder;
};
