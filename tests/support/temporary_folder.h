// A folder that a test may fill.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// Empty at first, private, and gone with all that it holds at the end of the scope.
class CTemporaryFolder {
public:
    CTemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "veridane-test-XXXXXX").string();
        m_Path = ::mkdtemp(pattern.data());
    }
    ~CTemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_Path, ignored);
    }
    CTemporaryFolder(const CTemporaryFolder&) = delete;
    CTemporaryFolder& operator=(const CTemporaryFolder&) = delete;

    std::string Path() const { return m_Path; }
    std::string operator/(const std::string& name) const { return m_Path + "/" + name; }

    // Files in the folder, hidden ones included.
    long Count() const {
        return std::distance(std::filesystem::directory_iterator(m_Path), std::filesystem::directory_iterator());
    }

private:
    std::string m_Path;
};

inline std::string ReadBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

inline void WriteBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}
