#include "name_list.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

namespace {

constexpr std::size_t kReadBytes = 1 << 16;

// FNV-1a, and then mixed so that names that differ in one digit are dealt out evenly by any number of shards.
std::uint64_t HashOf(std::string_view name) {
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (const char byte : name) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
    }
    hash = (hash ^ (hash >> 33)) * 0xff51afd7ed558ccdU;
    hash = (hash ^ (hash >> 33)) * 0xc4ceb9fe1a85ec53U;
    return hash ^ (hash >> 33);
}

std::string ReadAll(std::string& text, int descriptor) {
    char buffer[kReadBytes];
    for (;;) {
        const ssize_t count = ::read(descriptor, buffer, sizeof(buffer));
        if (count < 0 && errno != EINTR) {
            return std::strerror(errno);
        }
        if (count == 0) {
            return std::string();
        }
        text.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (text.size() > kMostListBytes) {
            return "it has more than " + std::to_string(kMostListBytes >> 20) + " MiB";
        }
    }
}

}  // namespace

std::string BX_ReadNames(std::vector<std::string>& names, const std::string& list) {
    const bool isFile = list != "-";
    const int descriptor = isFile ? ::open(list.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY) : STDIN_FILENO;
    if (descriptor < 0) {
        return std::strerror(errno);
    }
    std::string text;
    std::string fault = ReadAll(text, descriptor);
    if (isFile) {
        ::close(descriptor);
    }
    if (!fault.empty()) {
        return fault;
    }
    const char end = text.find('\0') != std::string::npos ? '\0' : '\n';
    for (std::size_t from = 0; from < text.size();) {
        const std::size_t to = std::min(text.find(end, from), text.size());
        if (to > from) {
            names.emplace_back(text, from, to - from);
        }
        from = to + 1;
    }
    return std::string();
}

bool SBxShard::Holds(std::string_view name) const {
    return IsWhole() || HashOf(name) % count == index - 1;
}

bool BX_ParseShard(SBxShard& shard, const std::string& text) {
    const char* const end = text.data() + text.size();
    const auto [slash, indexFault] = std::from_chars(text.data(), end, shard.index);
    if (indexFault != std::errc() || slash == end || *slash != '/') {
        return false;
    }
    const auto [rest, countFault] = std::from_chars(slash + 1, end, shard.count);
    return countFault == std::errc() && rest == end && shard.index >= 1 && shard.index <= shard.count &&
           shard.count <= kMostShards;
}
