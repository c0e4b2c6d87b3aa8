// Which files a command works on, where they are too many for a command line.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

inline constexpr std::size_t kMostListBytes = std::size_t{256} << 20;

// Appends the names that the file `list` holds ("-": that come from standard input): ended by NUL when it has one,
// otherwise by newlines. Empty names are passed over; a name is otherwise taken byte for byte. Returns an empty text,
// or why the list cannot be used: it cannot be read, or has more than kMostListBytes.
[[nodiscard]] std::string BX_ReadNames(std::vector<std::string>& names, const std::string& list);

// One of `count` parts that share a list between machines.
struct SBxShard {
    std::uint32_t index = 1;  // 1 .. count
    std::uint32_t count = 1;

    bool IsWhole() const { return count == 1; }
    // A name belongs to exactly one shard, told by its bytes alone: machines that list the same files in different
    // orders miss none and search none twice, and a file stays where it was when others come and go.
    bool Holds(std::string_view name) const;
};

inline constexpr std::uint32_t kMostShards = 1'000'000;

// Reads "3/16". False when the text is something else, or the numbers are not 1 <= 3 <= 16 <= kMostShards.
[[nodiscard]] bool BX_ParseShard(SBxShard& shard, const std::string& text);
