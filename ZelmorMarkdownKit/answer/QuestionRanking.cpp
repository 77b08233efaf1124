// Each meeting is read once, on as many threads as there are cores, into counts for the
// question's keywords only; the scores are then a few sums per meeting. Only the words a byte
// sieve cannot rule out are tokenized, and the words after a keyword up to the next topic word
// (which decide whether two keywords stand side by side). The weights were chosen
// on questions people asked about real meetings (BM25's saturation and length normalisation,
// adjacent keyword pairs, named speakers, the words that name the topic), for kinds of question,
// not for single ones.
#include "ZelmorMarkdownKit/answer/QuestionRanking.h"

#include "ZelmorMarkdownKit/format/MarkdownTranscriptParser.h"
#include "ZelmorMarkdownKit/search/KeywordSieve.h"
#include "ZelmorMarkdownKit/search/QueryTokenizer.h"
#include "ZelmorMarkdownKit/search/RankedTranscriptSearch.h"
#include "ZelmorMarkdownKit/text/TextFolding.h"
#include "ZelmorMarkdownKit/text/UTF8.h"
#include "ZelmorMarkdownKit/text/Workers.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>

namespace zelmor::QuestionRanking {

namespace {

/// Frequency saturation and length normalisation, as Okapi BM25 names them.
constexpr double k1 = 2.0;
constexpr double b = 0.75;
/// Two keywords of the question standing next to each other in a turn: a phrase the question
/// and the meeting share, worth more than the two words apart.
constexpr double pairWeight = 1.5;
/// A meeting where a speaker the question names took part.
constexpr double namedSpeakerBonus = 3.0;
/// The keywords in that speaker's own turns.
constexpr double namedSpeakerTurnsWeight = 0.5;
/// How many mentions in the turns one in the title is worth.
constexpr double titleWeight = 2.0;
/// A keyword after "about", "of", "on"… names what the answer is about; those before say whose
/// answer and what kind ("how did marketing feel about the battery?"), and weigh less.
constexpr double topicWeight = 2.0;
constexpr size_t maxAnswerTurns = 3;
constexpr size_t snippetContext = 90;
/// How many turns before and after a turn count as its neighbourhood when finding the answer.
constexpr size_t answerReach = 6;
/// Within a meeting where the question names a speaker, the words of that name say whose answer
/// it is more than what it is about: where the answer lies, they weigh half.
constexpr double speakerNameWordWeight = 0.5;

/// Words that say what kind of answer is wanted rather than what it is about.
const std::set<std::string, std::less<>>& wordingStems() {
    static const std::set<std::string, std::less<>> stems = [] {
        std::set<std::string, std::less<>> found;
        for (std::string_view word :
             {"discuss",   "discussed",  "discussion", "discussions", "summarize",  "summarise", "summary",
              "think",     "thought",    "thinks",     "say",         "said",       "says",      "talk",
              "talked",    "talking",    "opinion",    "opinions",    "group",      "team",      "meeting",
              "meetings",  "decide",     "decided",    "decision",    "conclusion", "concluded", "mention",
              "mentioned", "state",      "stated",     "explain",     "explained",  "view",      "views",
              "consider",  "considered", "propose",    "proposed",    "suggest",    "suggested", "describe",
              "described", "happen",     "happened",   "reason",      "reasons",    "believe",   "believed",
              "feel",      "felt",       "regarding",  "related",     "whether",    "also",      "give",
              "gave",      "toward",     "towards"})
            found.insert(QueryTokenizer::stem(QueryTokenizer::normalize(word)));
        return found;
    }();
    return stems;
}

/// The words after which a question names its topic.
bool opensTopic(std::string_view word) {
    for (std::string_view opener : {"about", "regarding", "on", "of", "for", "with", "toward", "towards"})
        if (word == opener) return true;
    return false;
}

double idf(size_t documentFrequency, size_t documents) {
    double n = static_cast<double>(documents), df = static_cast<double>(documentFrequency);
    return std::log(1 + (n - df + 0.5) / (df + 0.5));
}

double saturated(double count, double k) {
    return count * (k + 1) / (count + k);
}

/// The question as normalised words between spaces, so that a name is found only whole.
std::string spacedWords(const std::vector<QueryTokenizer::Word>& words) {
    std::string text = " ";
    for (const auto& word : words) text += word.raw + " ";
    return text;
}

/// Single capital letters standing alone, as speakers of some recordings are labelled ("What did
/// C think?"); "A" and "I" are words far more often than names.
std::set<char> loneCapitals(std::string_view question) {
    std::set<char> found;
    auto isWordByte = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || (c & 0x80); };
    for (size_t i = 0; i < question.size(); ++i) {
        char c = question[i];
        if (c < 'B' || c > 'Z' || c == 'I') continue;
        if ((i == 0 || !isWordByte(question[i - 1])) &&
            (i + 1 == question.size() || !isWordByte(question[i + 1])))
            found.insert(c);
    }
    return found;
}

} // namespace

struct detail::ParsedQuestion {
    std::vector<std::string> keywords;
    /// Each keyword's position in `keywords`.
    std::map<std::string, size_t, std::less<>> index;
    /// One normalised form of each keyword as the question writes it.
    std::vector<std::string> written;
    /// Keyword indexes of adjacent keywords in the question, in order.
    std::set<std::pair<size_t, size_t>> pairs;
    /// Whether each keyword is the first of a pair.
    std::vector<bool> startsPair;
    std::string spaced;
    std::set<char> capitals;
    /// Finds the places where a keyword may stand; none when every word is to be read.
    std::optional<KeywordSieve> sieve;
    /// Whether a keyword holds a digit, as a word read out of a one-on-one spelling may ("1:1s").
    bool digitInKeywords = false;
    /// Whether each keyword first stands where the question names its topic.
    std::vector<bool> onTopic;
};

namespace {

detail::ParsedQuestion parse(std::string_view text, Question::Reading reading = Question::Reading::sieved) {
    detail::ParsedQuestion question;
    auto words = QueryTokenizer::words(text);
    auto& index = question.index;
    std::optional<size_t> previous;
    bool topic = false;
    for (const auto& word : words) {
        topic = topic || opensTopic(word.raw); // no opener is a keyword: none weighs itself
        if (!QueryTokenizer::isContent(word) || word.stem.empty() || wordingStems().contains(word.stem))
            continue;
        auto [at, added] = index.emplace(word.stem, question.keywords.size());
        if (added) {
            question.keywords.push_back(word.stem);
            question.written.push_back(word.raw);
            question.onTopic.push_back(topic);
        }
        if (previous && *previous != at->second) question.pairs.emplace(*previous, at->second);
        previous = at->second;
    }
    question.startsPair.assign(question.keywords.size(), false);
    for (const auto& pair : question.pairs) question.startsPair[pair.first] = true;
    question.spaced = spacedWords(words);
    question.capitals = loneCapitals(text);
    if (reading == Question::Reading::sieved) question.sieve.emplace(question.keywords);
    question.digitInKeywords =
        std::any_of(question.keywords.begin(), question.keywords.end(), [](const auto& k) {
            return std::any_of(k.begin(), k.end(), [](char c) { return c >= '0' && c <= '9'; });
        });
    return question;
}

/// Whether the question names the speaker by the whole label. (A first name alone is not enough:
/// labels such as "Project Manager" would then be named by every question about a project.)
bool names(const detail::ParsedQuestion& question, const std::string& speaker) {
    if (speaker.size() == 1) return question.capitals.contains(speaker[0]);
    auto words = QueryTokenizer::words(speaker);
    return !words.empty() && question.spaced.find(spacedWords(words)) != std::string::npos;
}

constexpr int notContent = -2;
constexpr int notKeyword = -1;

/// A word cache that tags each word with its keyword's position, `notKeyword` or `notContent`.
QueryTokenizer::WordCache keywordCache(const detail::ParsedQuestion& question) {
    return QueryTokenizer::WordCache([&question](const QueryTokenizer::Word& word) {
        if (!QueryTokenizer::isContent(word)) return notContent;
        auto keyword = question.index.find(word.stem);
        return keyword == question.index.end() ? notKeyword : static_cast<int>(keyword->second);
    });
}

/// One meeting's evidence, gathered turn by turn as a parser hands the turns over.
class Gatherer {
public:
    Gatherer(const detail::ParsedQuestion& question, QueryTokenizer::WordCache& cache,
             const TranscriptDocument& header, bool keepTurns)
        : question(question), cache(cache), keepTurns(keepTurns) {
        found.counts.assign(question.keywords.size(), 0);
        found.namedCounts.assign(question.keywords.size(), 0);
        found.inNamedSpeaker.assign(question.keywords.size(), false);
        for (const auto& participant : header.participants) isNamed(participant);
        // The title names what the meeting was for: its words count as if said a few times.
        for (const auto& word : QueryTokenizer::words(header.title)) {
            auto keyword = question.index.find(word.stem);
            if (keyword != question.index.end()) found.counts[keyword->second] += titleWeight;
        }
    }

    /// The next turn: its speaker and its paragraphs, which the turn's text joins with "\n\n".
    void turn(std::string_view speaker, std::span<const std::string_view> paragraphs) {
        const size_t t = turns++;
        const bool byNamed = isNamed(speaker);
        held.clear();
        pairs.clear();
        previous = none;
        for (size_t p = 0; p < paragraphs.size(); ++p) {
            found.length += static_cast<double>(paragraphs[p].size() + (p > 0 ? 2 : 0));
            read(paragraphs[p], byNamed);
        }
        if (keepTurns && (!held.empty() || (byNamed && question.keywords.empty())))
            found.turns.push_back({t, held, byNamed, pairs});
    }

    /// The whole file the turns will be views into: the sieve and the check for bytes outside
    /// ASCII run over it once, rather than once for each paragraph (what they find in a
    /// paragraph alone they find in the file, the bytes about a paragraph being no letters or
    /// digits).
    void readsFrom(std::string_view text) {
        const KeywordSieve* sieve = sieveToUse();
        if (!sieve) return;
        file = text;
        sieve->forEachPlace(text, [&](size_t at) {
            filePlaces.push_back(at);
            return true;
        });
    }

    Evidence finish() {
        found.turnCount = turns;
        return std::move(found);
    }

private:
    static constexpr size_t none = static_cast<size_t>(-1);

    /// A paragraph of the turn: every word's tag in order, or, where bytes can rule words out,
    /// only the words at the sieve's places and, after a keyword, the words up to the next one.
    void read(std::string_view text, bool byNamed) {
        const KeywordSieve* sieve = sieveToUse();
        const std::optional<size_t> offset = offsetInFile(text);
        auto readAll = [&](std::string_view part) {
            for (int tag : cache.tags(part)) take(tag, byNamed);
        };
        if (!sieve) return readAll(text);
        const bool ascii = isASCII(text, offset);
        // A one-on-one spelling stands in the sieved text only between keywords (it holds none),
        // where the words up to the next keyword are read whole; but a keyword with a digit may
        // be read out of one, and pieces would cut one apart.
        if ((!ascii || question.digitInKeywords) && QueryTokenizer::mayHoldOneOnOneSpelling(text))
            return readAll(text);
        if (ascii) return readSieved(*sieve, text, offset, byNamed);
        // Only the pieces that hold bytes outside ASCII need every word read.
        QueryTokenizer::forEachPiece(text, [&](TextRange piece, bool pieceIsASCII) {
            std::string_view part = text.substr(piece.start, piece.end - piece.start);
            if (!pieceIsASCII) return readAll(part);
            readSieved(*sieve, part, offset ? std::optional(*offset + piece.start) : std::nullopt, byNamed);
        });
    }

    /// ASCII text with no one-on-one spelling: only the words at the sieve's places may be
    /// keywords, and after a keyword only the words up to the next topic word matter.
    void readSieved(const KeywordSieve& sieve, std::string_view text, std::optional<size_t> offset,
                    bool byNamed) {
        size_t from = 0; // where the words not yet looked at start
        auto visit = [&](size_t at) {
            if (at < from) return true;
            auto segment = QueryTokenizer::asciiSegmentLeadBy(text, at);
            if (!segment) return true;
            int tag = cache.tag(text.substr(segment->start, segment->end - segment->start));
            if (tag < 0) return true;
            // The words between matter only to a pair the question holds.
            if (previous != none && question.pairs.contains({previous, static_cast<size_t>(tag)}) &&
                holdsTopicWord(text.substr(0, segment->start), from))
                previous = none;
            take(tag, byNamed);
            from = segment->end;
            return true;
        };
        if (offset) {
            // The file's places that fall in the text. Paragraphs come in file order, so the
            // places are walked along with them; one that comes earlier is searched for.
            if (nextPlace > 0 && filePlaces[nextPlace - 1] >= *offset)
                nextPlace = static_cast<size_t>(
                    std::lower_bound(filePlaces.begin(), filePlaces.end(), *offset) - filePlaces.begin());
            while (nextPlace < filePlaces.size() && filePlaces[nextPlace] < *offset) ++nextPlace;
            for (; nextPlace < filePlaces.size() && filePlaces[nextPlace] < *offset + text.size();
                 ++nextPlace)
                visit(filePlaces[nextPlace] - *offset);
        } else {
            sieve.forEachPlace(text, visit);
        }
        if (previous != none && question.startsPair[previous] && holdsTopicWord(text, from)) previous = none;
    }

    bool isASCII(std::string_view text, std::optional<size_t> offset) {
        if (!offset) return UTF8::isASCII(text);
        // Paragraphs come in file order: the next byte outside ASCII is looked for again only
        // once the paragraphs have passed the last one found.
        if (outsideFrom > *offset || nextOutside < *offset) {
            outsideFrom = *offset;
            nextOutside = UTF8::firstNonASCII(file, *offset);
        }
        return nextOutside >= *offset + text.size();
    }

    const KeywordSieve* sieveToUse() const {
        return question.sieve && question.sieve->findsEveryStem() ? &*question.sieve : nullptr;
    }

    /// Where the paragraph stands in the file the places were found in, if it is a view into it.
    std::optional<size_t> offsetInFile(std::string_view paragraph) const {
        auto address = [](const char* at) { return reinterpret_cast<std::uintptr_t>(at); };
        if (file.empty() || address(paragraph.data()) < address(file.data()) ||
            address(paragraph.data() + paragraph.size()) > address(file.data() + file.size()))
            return std::nullopt;
        return static_cast<size_t>(paragraph.data() - file.data());
    }

    /// Whether the words of the ASCII text from `from` (0 or where a word ends) hold one that is
    /// neither a keyword nor a stop, time or number word.
    bool holdsTopicWord(std::string_view text, size_t from) {
        // The words between two keywords read alone as they read in the whole text (they start
        // and end where words do). A one-on-one spelling reads as one topic word, so it matters
        // only where the words read one by one hold none: it is looked for last.
        for (auto segment = QueryTokenizer::nextASCIISegment(text, from); segment;
             segment = QueryTokenizer::nextASCIISegment(text, segment->end)) {
            int tag = cache.tag(text.substr(segment->start, segment->end - segment->start));
            if (tag != notContent && tag != QueryTokenizer::WordCache::noWord) return true;
        }
        if (QueryTokenizer::mayHoldOneOnOneSpelling(text.substr(from))) {
            for (int tag : cache.tags(text.substr(from)))
                if (tag != notContent) return true;
        }
        return false;
    }

    /// One word's tag, in turn order.
    void take(int tag, bool byNamed) {
        if (tag == notContent) return;
        if (tag == notKeyword) {
            previous = none;
            return;
        }
        size_t k = static_cast<size_t>(tag);
        found.counts[k] += 1;
        if (byNamed) found.namedCounts[k] += 1;
        if (previous != none && question.pairs.contains({previous, k})) {
            found.pairCounts[{previous, k}] += 1;
            pairs.emplace_back(previous, k);
        }
        previous = k;
        if (std::find(held.begin(), held.end(), k) == held.end()) held.push_back(k);
    }

    /// Whether the question names the speaker; a speaker it names lends the meeting the
    /// keywords that are words of the name.
    bool isNamed(std::string_view speaker) {
        // A meeting has few speakers: a list is quicker than a map.
        for (const auto& [known, named] : speakers)
            if (known == speaker) return named;
        const bool named = names(question, std::string(speaker));
        speakers.emplace_back(speaker, named);
        if (named) {
            found.named = true;
            for (const auto& word : QueryTokenizer::words(speaker))
                if (auto keyword = question.index.find(word.stem); keyword != question.index.end())
                    found.inNamedSpeaker[keyword->second] = true;
        }
        return named;
    }

    const detail::ParsedQuestion& question;
    QueryTokenizer::WordCache& cache;
    const bool keepTurns;
    Evidence found;
    size_t turns = 0;
    std::vector<std::pair<std::string, bool>> speakers;
    // The turn being read.
    std::vector<size_t> held;
    std::vector<std::pair<size_t, size_t>> pairs;
    size_t previous = none; // the keyword just before, when the content word before was one
    // The file, when the turns are views into it.
    std::string_view file;
    std::vector<size_t> filePlaces;
    size_t nextPlace = 0; // the first of them not yet passed
    // Where the file's next byte outside ASCII stands from `outsideFrom` on.
    size_t outsideFrom = SIZE_MAX, nextOutside = 0;
};

} // namespace

std::vector<std::string> keywords(std::string_view question) {
    return parse(question).keywords;
}

Question::Question(std::string_view text, Reading reading)
    : parsed_(std::make_unique<const detail::ParsedQuestion>(parse(text, reading))) {}

Question::~Question() = default;

Evidence Question::nothing() const {
    Evidence found;
    found.counts.assign(parsed_->keywords.size(), 0);
    found.namedCounts.assign(parsed_->keywords.size(), 0);
    found.inNamedSpeaker.assign(parsed_->keywords.size(), false);
    return found;
}

template <typename Feed>
Evidence Question::gather(const TranscriptDocument& header, Keep keep, Feed&& feed) const {
    // A cache per concurrent caller, kept for the next meeting: one thread's words never wait
    // for another's.
    std::unique_ptr<QueryTokenizer::WordCache> cache;
    {
        std::lock_guard<std::mutex> hold(lock_);
        if (!idle_.empty()) {
            cache = std::move(idle_.back());
            idle_.pop_back();
        }
    }
    if (!cache) cache = std::make_unique<QueryTokenizer::WordCache>(keywordCache(*parsed_));
    Gatherer gatherer(*parsed_, *cache, header, keep == Keep::turns);
    feed(gatherer);
    std::lock_guard<std::mutex> hold(lock_);
    idle_.push_back(std::move(cache));
    return gatherer.finish();
}

Evidence Question::evidence(const TranscriptDocument& document, Keep keep) const {
    return gather(document, keep, [&](Gatherer& gatherer) {
        for (const auto& turn : document.turns) {
            const std::string_view text = turn.text;
            gatherer.turn(turn.speaker, std::span(&text, 1));
        }
    });
}

template <typename Also>
Evidence Question::gatherText(std::string_view text, TranscriptDocument& header, Keep keep,
                              Also&& also) const {
    return gather(header, keep, [&](Gatherer& gatherer) {
        gatherer.readsFrom(text);
        MarkdownTranscriptParser::parseBody(text, header,
                                            [&](const MarkdownTranscriptParser::TurnText& turn) {
                                                gatherer.turn(turn.speaker, turn.paragraphs);
                                                also(turn);
                                                return true;
                                            });
    });
}

Evidence Question::evidence(std::string_view text, TranscriptDocument& header, Keep keep) const {
    return gatherText(text, header, keep, [](const MarkdownTranscriptParser::TurnText&) {});
}

std::vector<Hit> rank(const std::vector<const TranscriptDocument*>& documents, std::string_view questionText,
                      const Options& options) {
    const Question question(questionText);
    std::vector<Evidence> evidence(documents.size());
    // Each thread writes only its own meetings' slots; a meeting that cannot be read whole (out
    // of memory) counts as holding nothing.
    Workers::forEachIndex(documents.size(), Workers::count(options.workers, documents.size()),
                          [&](size_t d, unsigned) {
                              try {
                                  evidence[d] = question.evidence(*documents[d]);
                              } catch (...) {
                                  evidence[d] = question.nothing();
                              }
                          });
    return question.rank(evidence);
}

std::vector<double> Question::weights(const std::vector<Evidence>& evidence) const {
    const detail::ParsedQuestion& question = *parsed_;
    std::vector<double> weights(question.keywords.size());
    for (size_t k = 0; k < question.keywords.size(); ++k) {
        size_t df = std::count_if(evidence.begin(), evidence.end(),
                                  [&](const Evidence& e) { return e.counts[k] > 0; });
        weights[k] = idf(df, evidence.size()) * (question.onTopic[k] ? topicWeight : 1.0);
    }
    return weights;
}

std::vector<size_t> Question::answerTurns(const Evidence& found, const std::vector<double>& weights) const {
    // The answer lies where the question's weight gathers: each turn by the weight of its own
    // keywords and keyword pairs, twice, plus that of every other turn about it (an answer is a
    // stretch of talk where the question's words keep coming back). When the question names a
    // speaker, that speaker's turns come first: it asks what they said. Within the meeting a
    // keyword said in few turns points to the answer more than one said all through it, and a
    // word of the named speaker's label less than the words of the topic.
    std::vector<double> inTurns(weights.size(), 0);
    for (const auto& turn : found.turns)
        for (size_t k : turn.keywords) inTurns[k] += 1;
    std::vector<double> local(weights.size());
    for (size_t k = 0; k < weights.size(); ++k)
        local[k] = (found.inNamedSpeaker[k] ? speakerNameWordWeight : 1.0) * weights[k] *
                   std::log(2 + static_cast<double>(found.turnCount) / std::max(inTurns[k], 1.0));
    std::vector<double> own;
    for (const auto& turn : found.turns) {
        double weight = 0;
        for (size_t k : turn.keywords) weight += local[k];
        for (auto [x, y] : turn.pairs) weight += pairWeight * (local[x] + local[y]) / 2;
        own.push_back(weight);
    }
    struct TurnScore {
        bool byNamed;
        double weight;
        size_t index;
    };
    std::vector<TurnScore> turnScores;
    for (size_t i = 0; i < found.turns.size(); ++i) {
        const auto& turn = found.turns[i];
        double score = own[i]; // and once more in the window
        size_t first = i;
        while (first > 0 && found.turns[first - 1].index + answerReach >= turn.index) --first;
        for (size_t j = first; j < found.turns.size() && found.turns[j].index <= turn.index + answerReach;
             ++j)
            score += own[j];
        turnScores.push_back({turn.byNamed, score, turn.index});
    }
    std::stable_sort(turnScores.begin(), turnScores.end(), [](const TurnScore& x, const TurnScore& y) {
        return x.byNamed != y.byNamed ? x.byNamed : x.weight > y.weight;
    });
    std::vector<size_t> best;
    for (size_t i = 0; i < turnScores.size() && i < maxAnswerTurns; ++i) best.push_back(turnScores[i].index);
    return best;
}

std::vector<Hit> Question::rank(const std::vector<Evidence>& evidence) const {
    const detail::ParsedQuestion& question = *parsed_;
    if (evidence.empty()) return {};
    const size_t n = evidence.size();
    const std::vector<double> weights = this->weights(evidence);
    bool anyNamed = false;
    double totalLength = 0;
    for (const auto& found : evidence) {
        totalLength += found.length;
        anyNamed = anyNamed || found.named;
    }
    const bool anyHeld = std::any_of(evidence.begin(), evidence.end(), [](const Evidence& e) {
        return std::any_of(e.counts.begin(), e.counts.end(), [](double count) { return count > 0; });
    });
    if (!anyHeld && !anyNamed) return {};
    const double averageLength = std::max(1.0, totalLength / static_cast<double>(n));

    std::vector<Hit> hits;
    for (size_t d = 0; d < n; ++d) {
        const Evidence& found = evidence[d];
        Hit hit{d, 0, {}, {}};
        const double norm = k1 * (1 - b + b * found.length / averageLength);
        for (size_t k = 0; k < question.keywords.size(); ++k) {
            double tf = found.counts[k];
            if (tf > 0 || found.inNamedSpeaker[k]) hit.matchedKeywords.push_back(question.written[k]);
            if (tf <= 0) continue;
            hit.relevance += weights[k] * tf * (k1 + 1) / (tf + norm);
            hit.relevance += namedSpeakerTurnsWeight * weights[k] * saturated(found.namedCounts[k], 2.0);
        }
        for (const auto& [pair, count] : found.pairCounts)
            hit.relevance +=
                pairWeight * (weights[pair.first] + weights[pair.second]) / 2 * saturated(count, 1.2);
        if (found.named) hit.relevance += namedSpeakerBonus;
        if (hit.matchedKeywords.empty() && !(found.named && question.keywords.empty())) continue;
        hit.answerTurns = answerTurns(found, weights);
        hits.push_back(std::move(hit));
    }
    std::stable_sort(hits.begin(), hits.end(),
                     [](const Hit& x, const Hit& y) { return x.relevance > y.relevance; });
    return hits;
}

std::vector<std::string> Question::snippets(std::string_view text, const Hit& hit,
                                            const std::vector<double>& weights) const {
    auto header = MarkdownTranscriptParser::parseFrontmatter(text);
    if (!header) return {};
    // One reading both finds the answer turns and copies the turns out for their snippets.
    const Evidence found =
        gatherText(text, *header, Keep::turns, [&](const MarkdownTranscriptParser::TurnText& turn) {
            TranscriptDocument::Turn& kept = header->turns.emplace_back();
            kept.speaker = turn.speaker;
            for (size_t p = 0; p < turn.paragraphs.size(); ++p)
                kept.text.append(p > 0 ? "\n\n" : "").append(turn.paragraphs[p]);
        });
    Hit shown = hit;
    shown.answerTurns = answerTurns(found, weights);
    return QuestionRanking::snippets(*header, shown);
}

std::vector<std::string> snippets(const TranscriptDocument& document, const Hit& hit) {
    std::vector<std::string> found;
    for (size_t turn : hit.answerTurns) {
        if (turn >= document.turns.size()) continue; // the file changed since it was ranked
        const auto& spoken = document.turns[turn];
        std::string_view around =
            hit.matchedKeywords.empty() ? std::string_view() : hit.matchedKeywords.front();
        for (const auto& keyword : hit.matchedKeywords)
            if (TextFolding::find(spoken.text, keyword)) {
                around = keyword;
                break;
            }
        found.push_back("**" + spoken.speaker + ":** " +
                        RankedTranscriptSearch::excerpt(spoken.text, around, snippetContext));
    }
    return found;
}

} // namespace zelmor::QuestionRanking
