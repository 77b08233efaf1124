// Whether the user really took part in a meeting: their substantive turns (four words or more)
// that do not merely echo the previous other speaker, as a microphone picking up the room does.
#pragma once

#include "ZelmorMarkdownKit/answer/SpeakerIdentity.h"
#include "ZelmorMarkdownKit/format/TranscriptDocument.h"

#include <optional>
#include <string_view>

namespace zelmor::Participation {

inline constexpr size_t minSubstantiveWords = 4;
/// Share of distinct tokens at or above which a turn repeats the one before it.
inline constexpr double echoOverlap = 0.9;

/// At least four whitespace-separated words.
bool isSubstantive(std::string_view text);

/// Whether the turn repeats the earlier text: equal token lists, or distinct tokens shared at
/// `echoOverlap` of the larger set or more. No earlier text, or no tokens, is no echo.
bool isEcho(std::string_view text, std::optional<std::string_view> previous);

/// The user's substantive turns that echo nothing; each is compared with the latest turn of
/// another speaker, never with the user's own turns.
size_t substantiveTurnCount(const TranscriptDocument& document, const SpeakerIdentity& identity);

/// Whether that count reaches `minTurns` (at least one, whatever `minTurns` says).
bool spoke(const TranscriptDocument& document, const SpeakerIdentity& identity, long long minTurns);

} // namespace zelmor::Participation
