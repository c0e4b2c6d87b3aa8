// The order in which the 243 bits of the sign frame stand in the cells of a carrier.
#pragma once

#include <cstdint>

// Cell i carries frame bit puiBitChange[i]; frame bit i stands in cell puiBitChangeInv[i].
extern const std::uint16_t puiBitChange[243];
extern const std::uint16_t puiBitChangeInv[243];
