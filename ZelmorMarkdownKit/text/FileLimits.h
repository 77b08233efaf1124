// How large a file the system reads may be. Each bound lies far beyond anything real (a ten-hour
// meeting is about 1 MB of text, the settings file a few hundred bytes, the activity files tens
// of KB), so only a broken or hostile file reaches it; reading such a file whole could take
// gigabytes and end the process.
#pragma once

#include <cstddef>

namespace zelmor::FileLimits {

/// A larger ".md" file is unreadable: the scan leaves it out and reading it is refused as not found.
inline constexpr size_t transcriptBytes = size_t{16} << 20;
/// A larger settings file is unreadable: the defaults apply.
inline constexpr size_t settingsBytes = size_t{1} << 20;
/// A larger activity file is damaged: the next call replaces it, as for any damaged file.
inline constexpr size_t activityBytes = size_t{4} << 20;

} // namespace zelmor::FileLimits
