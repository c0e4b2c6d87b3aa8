// Result codes of the whole system.
//
// Engine, analysis and picture operations return 0, 1 or 6; file, settings and metadata operations return 0 or 1.
#pragma once

// Done; for a detection: a sign was found.
inline constexpr unsigned char kBxSuccess = 0;

// Failed, nothing found, aborted, or an argument that cannot be worked on.
inline constexpr unsigned char kBxFailure = 1;

// Memory could not be had. Everything that the operation had allocated is released again.
inline constexpr unsigned char kBxOutOfMemory = 6;
