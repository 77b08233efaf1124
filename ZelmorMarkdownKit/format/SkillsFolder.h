// The skills folder inside the user's memory folder holds instructions for agents, never meetings.
#pragma once

#include <string_view>

namespace zelmor::SkillsFolder {

inline constexpr const char* folderName = "Skills";
inline constexpr const char* defaultMemoryFolderName = "Memory";

/// True when a path component equal to the memory folder name (ignoring case) is directly
/// followed by "skills" and at least one more component, at any depth.
bool holds(std::string_view path, std::string_view memoryFolderName);

} // namespace zelmor::SkillsFolder
