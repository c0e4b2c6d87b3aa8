// Runs any command line of `vrd` in a folder with a few small files.
//
// The input holds the words, each ended by a zero byte, and behind an empty word what the file "list" holds. Nothing
// outside the folder can be reached: a word that may name something there is not run.
#include <fcntl.h>
#include <unistd.h>

#include <QBuffer>
#include <QImage>
#include <algorithm>
#include <cctype>

#include "command_line.h"
#include "fuzz_target.h"
#include "temporary_folder.h"

namespace {

constexpr std::size_t kMostInputBytes = 4096;
constexpr std::size_t kMostWords = 40;
constexpr char kPicture[] = "p.png";
constexpr char kList[] = "list";

// A "/" is harmless behind digits alone, where it may be that of a shard: there is no folder of such a name.
bool StaysInFolder(const std::string& word) {
    for (std::size_t at = 0; at < word.size(); ++at) {
        const bool isHarmlessSlash = at > 0 && std::isdigit(static_cast<unsigned char>(word[at - 1])) != 0;
        if (word[at] == '\\' || (word[at] == '/' && !isHarmlessSlash)) {
            return false;
        }
    }
    return word.find("..") == std::string::npos;
}

// A document would be handed to another program, and searching hard takes seconds: such words find an empty folder.
bool WantsEmptyFolder(const std::vector<std::string>& words) {
    return std::any_of(words.begin(), words.end(), [](const std::string& word) {
        return word == "pdf-detect" || word == "survive" || word.rfind("--deep", 0) == 0;
    });
}

const std::string& PictureBytes() {
    static const std::string kBytes = [] {
        QImage image(12, 10, QImage::Format_RGB32);
        image.fill(qRgb(120, 130, 140));
        image.setPixel(3, 4, qRgb(0, 0, 0));
        QByteArray bytes;
        QBuffer buffer(&bytes);
        Require(image.save(&buffer, "png"));
        return bytes.toStdString();
    }();
    return kBytes;
}

void Empty(const CTemporaryFolder& folder) {
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        std::filesystem::remove_all(entry.path());
    }
}

// A picture, a list, an empty folder.
void Fill(const CTemporaryFolder& folder, const std::string& list) {
    std::filesystem::create_directory(folder / "d");
    WriteBytes(folder / kPicture, PictureBytes());
    WriteBytes(folder / kList, list);
}

// While it lives the process works in a folder, standard input is empty and standard output goes nowhere.
class CQuietFolder {
public:
    explicit CQuietFolder(const std::string& folder)
        : m_iFolder(::open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
          m_iInput(::dup(STDIN_FILENO)),
          m_iOutput(::dup(STDOUT_FILENO)) {
        const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
        Require(m_iFolder >= 0 && nothing >= 0 && ::chdir(folder.c_str()) == 0);
        ::dup2(nothing, STDIN_FILENO);
        ::dup2(nothing, STDOUT_FILENO);
        ::close(nothing);
    }
    ~CQuietFolder() {
        std::fflush(stdout);
        Require(::fchdir(m_iFolder) == 0);
        ::close(m_iFolder);
        PutBack(m_iInput, STDIN_FILENO);
        PutBack(m_iOutput, STDOUT_FILENO);
    }
    CQuietFolder(const CQuietFolder&) = delete;
    CQuietFolder& operator=(const CQuietFolder&) = delete;

private:
    // A stream that was closed before is closed again.
    static void PutBack(int kept, int stream) {
        if (kept < 0) {
            ::close(stream);
            return;
        }
        ::dup2(kept, stream);
        ::close(kept);
    }

    int m_iFolder;
    int m_iInput;
    int m_iOutput;
};

int Run(const std::vector<std::string>& words) {
    std::vector<std::string> copies = words;
    std::vector<char*> arguments;
    std::string program = "vrd";
    arguments.push_back(program.data());
    for (std::string& word : copies) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    return BX_RunCommandLine(static_cast<int>(arguments.size()) - 1, arguments.data());
}

// Everything that the product writes without being told where goes below the folder too.
const CTemporaryFolder& WorkingFolder() {
    static const CTemporaryFolder kHome;
    static const CTemporaryFolder kFolder;
    static const bool kIsSet = [] {
        for (const char* name : {"HOME", "TMPDIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
            ::setenv(name, kHome.Path().c_str(), 1);
        }
        return true;
    }();
    Require(kIsSet);
    return kFolder;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t inputSize) {
    if (inputSize > kMostInputBytes) {
        return 0;
    }
    const std::string bytes(reinterpret_cast<const char*>(input), inputSize);
    std::vector<std::string> words;
    std::size_t at = 0;
    while (at < bytes.size() && bytes[at] != '\0' && words.size() < kMostWords) {
        const std::size_t end = std::min(bytes.find('\0', at), bytes.size());
        words.push_back(bytes.substr(at, end - at));
        at = end + 1;
    }
    const std::string list = at + 1 < bytes.size() ? bytes.substr(at + 1) : std::string();
    const auto stays = [](const std::string& word) { return StaysInFolder(word); };
    // The names in the list are searched too.
    if (!std::all_of(words.begin(), words.end(), stays) || !StaysInFolder(list)) {
        return 0;
    }
    const CTemporaryFolder& folder = WorkingFolder();
    Empty(folder);
    if (!WantsEmptyFolder(words)) {
        Fill(folder, list);
    }
    const CQuietFolder quiet(folder.Path());
    const int status = Run(words);
    Require(status >= 0 && status <= 2);
    return 0;
}
