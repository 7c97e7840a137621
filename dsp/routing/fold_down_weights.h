// The weights of the fold-downs.
#pragma once

namespace quorvel::fold_down {

inline constexpr float kMinus3Db = 0.70794576f;  // 10^(-3 / 20), rounded to float
inline constexpr float kMinus6Db = 0.50118721f;  // 10^(-6 / 20), rounded to float
inline constexpr float kOwnSide = 0.871f;        // of a surround pair, to the side it stands on
inline constexpr float kOtherSide = 0.49f;       // of a surround pair, to the opposite side

}  // namespace quorvel::fold_down
