#include "results_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

constexpr std::size_t kReadBytes = 1 << 16;
constexpr std::size_t kMostLineBytes = 1 << 16;
constexpr char kLineStart[] = "{\"file\":\"";

std::string HexOf(const std::string& bytes) {
    std::string hex;
    for (const char byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof(digits), "%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        hex += digits;
    }
    return hex;
}

bool BytesOfHex(std::string& bytes, const std::string& hex) {
    bytes.clear();
    for (std::size_t at = 0; at + 1 < hex.size(); at += 2) {
        unsigned char byte = 0;
        const auto [end, fault] = std::from_chars(hex.data() + at, hex.data() + at + 2, byte, 16);
        if (fault != std::errc() || end != hex.data() + at + 2) {
            return false;
        }
        bytes += static_cast<char>(byte);
    }
    return hex.size() % 2 == 0;
}

std::string TimeText(const timespec& time) {
    std::tm parts = {};
    if (::gmtime_r(&time.tv_sec, &parts) == nullptr) {
        return std::string();
    }
    char seconds[64] = "";
    std::strftime(seconds, sizeof(seconds), "%Y-%m-%dT%H:%M:%S", &parts);
    char text[80];
    std::snprintf(text, sizeof(text), "%s.%09ldZ", seconds, time.tv_nsec);
    return text;
}

std::string TextOf(const CBxJson& object, const char* key) {
    const auto member = object.find(key);
    return member != object.end() && member->is_string() ? member->get<std::string>() : std::string();
}

// What a write that was cut short leaves: the beginning of a line, or zeros where the bytes never reached the disk.
bool IsTornLine(const std::string& text) {
    const std::size_t count = std::min(text.size(), sizeof(kLineStart) - 1);
    return text[0] == '\0' || text.compare(0, count, kLineStart, count) == 0;
}

bool WriteAll(int descriptor, const std::string& text) {
    for (std::size_t written = 0; written < text.size();) {
        const ssize_t count = ::write(descriptor, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        written += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return true;
}

}  // namespace

SBxFileIdentity BX_IdentifyFile(const std::string& name) {
    struct stat facts = {};
    if (::stat(name.c_str(), &facts) != 0) {
        return {};
    }
    return {facts.st_size, TimeText(facts.st_mtim)};
}

CBxResultsFile::~CBxResultsFile() = default;

std::string CBxResultsFile::Open(const std::string& path, bool resume) {
    const int flags = O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | (resume ? 0 : O_EXCL);
    const int descriptor = ::open(path.c_str(), flags, 0666);
    if (descriptor < 0) {
        return errno == EEXIST ? "it exists already; --resume goes on with it" : std::strerror(errno);
    }
    if (!m_Lock.TakeDescriptor(descriptor)) {
        return "another run writes to it";
    }
    struct stat facts = {};
    if (::fstat(descriptor, &facts) != 0 || !S_ISREG(facts.st_mode)) {
        return "it is not a regular file";
    }
    m_iDescriptor = descriptor;
    std::string fault = ReadLines();
    if (!fault.empty()) {
        m_iDescriptor = -1;
    }
    return fault;
}

std::string CBxResultsFile::ReadLines() {
    std::string pending;
    std::int64_t lines = 0;
    char buffer[kReadBytes];
    for (;;) {
        const ssize_t count =
            ::pread(m_iDescriptor, buffer, sizeof(buffer), m_iWholeBytes + static_cast<std::int64_t>(pending.size()));
        if (count < 0) {
            return std::strerror(errno);
        }
        pending.append(buffer, static_cast<std::size_t>(count));
        std::size_t from = 0;
        for (std::size_t to = 0; (to = pending.find('\n', from)) != std::string::npos; from = to + 1) {
            ++lines;
            if (!TakeLine(pending.substr(from, to - from))) {
                return "its line " + std::to_string(lines) + " is no result of a search; nothing was changed";
            }
        }
        m_iWholeBytes += static_cast<std::int64_t>(from);
        pending.erase(0, from);
        if (count == 0 || pending.size() > kMostLineBytes) {
            return pending.empty() ? std::string() : CutOff(pending, lines + 1);
        }
    }
}

std::string CBxResultsFile::CutOff(const std::string& torn, std::int64_t line) {
    if (torn.size() > kMostLineBytes || !IsTornLine(torn)) {
        return "its line " + std::to_string(line) + " is no result of a search; nothing was changed";
    }
    return ::ftruncate(m_iDescriptor, m_iWholeBytes) == 0 ? std::string() : std::strerror(errno);
}

bool CBxResultsFile::TakeLine(const std::string& line) {
    const CBxJson record = CBxJson::parse(line, nullptr, false);
    if (!record.is_object() || !record.contains("file") || !record["file"].is_string()) {
        return false;
    }
    std::string name = TextOf(record, "file");
    if (record.contains("file_hex") && !BytesOfHex(name, TextOf(record, "file_hex"))) {
        return false;
    }
    const auto bytes = record.find("bytes");
    const auto deep = record.find("deep");
    if (record.contains("error") || bytes == record.end() || !bytes->is_number_integer()) {
        m_States.erase(name);  // is searched again
        return true;
    }
    m_States[name] = {{bytes->get<std::int64_t>(), TextOf(record, "modified")},
                      deep != record.end() && deep->is_boolean() && deep->get<bool>(),
                      !TextOf(record, "sign").empty()};
    return true;
}

CBxResultsFile::EState CBxResultsFile::StateOf(const std::string& name, bool deep) const {
    const auto entry = m_States.find(name);
    if (entry == m_States.end()) {
        return EState::NotSearched;
    }
    const SState& state = entry->second;
    const bool isDeepEnough = state.isFound || state.deep || !deep;
    if (!isDeepEnough || state.identity != BX_IdentifyFile(name)) {
        return EState::NotSearched;
    }
    return state.isFound ? EState::Found : EState::NothingFound;
}

void CBxResultsFile::Append(const std::string& name, const SBxFileIdentity& identity, bool deep,
                            const CBxJson& record) {
    CBxJson line = {{"file", BX_ValidUtf8(name)}};
    if (line["file"] != name) {
        line["file_hex"] = HexOf(name);
    }
    const bool isThere = identity.bytes >= 0;
    line["bytes"] = isThere ? CBxJson(identity.bytes) : CBxJson(nullptr);
    line["modified"] = isThere ? CBxJson(identity.modified) : CBxJson(nullptr);
    line["deep"] = deep;
    for (const auto& [key, value] : record.items()) {
        if (key != "file") {
            line[key] = value;
        }
    }
    const std::string text = line.dump(-1, ' ', false, CBxJson::error_handler_t::replace) + "\n";
    const std::lock_guard<std::mutex> lock(m_Mutex);
    if (!m_strFault.empty()) {
        return;
    }
    if (WriteAll(m_iDescriptor, text)) {
        m_iWholeBytes += static_cast<std::int64_t>(text.size());
        return;
    }
    m_strFault = std::strerror(errno);
    if (::ftruncate(m_iDescriptor, m_iWholeBytes) != 0) {
        m_strFault += "; its last line is torn, which --resume mends";
    }
}

bool CBxResultsFile::HasFailed() const {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    return !m_strFault.empty();
}

std::string CBxResultsFile::Finish() {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    if (m_strFault.empty() && ::fsync(m_iDescriptor) != 0) {
        m_strFault = std::strerror(errno);
    }
    return m_strFault;
}
