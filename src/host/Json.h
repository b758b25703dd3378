// SPDX-License-Identifier: MIT
#pragma once

/// The version of the JSON that the commands print, which docs/json.md describes. It changes if
/// a member is removed or changes its meaning.
inline constexpr int kJsonVersion = 1;
