// Finds plain-text twins of our transcripts ("x.txt" beside "x.md", carrying "source: Zelmor")
// and moves them to the trash, in two steps so a host can show the list and ask first.
#pragma once

#include "platform/Trash.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zelmor::TxtTwinTidy {

/// The marker of our own transcripts that a twin must carry.
inline constexpr std::string_view zelmorMarker = "source: Zelmor";

/// The text twins below the folder that are safe to remove, in listing order. Extensions
/// match exactly ("txt", "md"); hidden files and folders are skipped. Reads, never changes.
std::vector<std::string> plan(const std::string& folder);

/// True when the text contains "source: Zelmor".
bool isZelmorTwin(std::string_view content);

/// Moves each file to the owner's trash, going on past failures; returns how many moved.
size_t trash(const std::vector<std::string>& files, const platform::TrashOwner& owner);

} // namespace zelmor::TxtTwinTidy
