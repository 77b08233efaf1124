// Runs every tests/protocol/cases/*.test file against the real zelmor-mcp binary and compares
// its standard output byte for byte.
//
// File format, one directive per line:
//   # text             a comment
//   #! args: A B       command-line arguments (split at spaces)
//   #! no-final-newline  the last input line is sent without its line break
//   > LINE             a line sent to standard input
//   < LINE             a line expected on standard output, in order
// Any other line but a blank one fails the file. The server must exit with status 0.
// Folder tokens: {home} is a fresh temporary home folder and {fixtures} the small test folder
// tests/fixtures/meetings. They stand for the plain path in arguments and input; in expected
// lines for the path as a JSON string holds it ("/" written "\/"), and with the suffix ":text"
// for the path inside a tool result's text, which is JSON written into a JSON string ("\\\/").
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>
#include <tuple>

namespace zelmor::test {
namespace {

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

enum class Context { plain, expected };

std::string substituted(std::string text, const std::string& home, Context context = Context::plain) {
    const std::pair<std::string, std::string> folders[] = {
        {"home", home},
        {"fixtures", std::string(ZELMOR_SOURCE_DIR) + "/tests/fixtures/meetings"},
    };
    for (auto [name, path] : folders) {
        if (context == Context::expected) {
            std::string inText = path;
            replaceAll(inText, "/", R"(\\\/)");
            replaceAll(text, "{" + name + ":text}", inText);
            replaceAll(path, "/", R"(\/)");
        }
        replaceAll(text, "{" + name + "}", path);
    }
    return text;
}

std::vector<std::string> caseFiles() {
    std::vector<std::string> files;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::string(ZELMOR_SOURCE_DIR) + "/tests/protocol/cases"))
        if (entry.path().extension() == ".test") files.push_back(entry.path().filename().string());
    std::sort(files.begin(), files.end());
    return files;
}

class ProtocolFile : public testing::TestWithParam<std::string> {};

TEST_P(ProtocolFile, RepliesMatchByteForByte) {
    TempFolder home;
    std::string text = readFile(std::string(ZELMOR_SOURCE_DIR) + "/tests/protocol/cases/" + GetParam());
    ProcessOptions options;
    options.environment = {{"HOME", home.path()}, {"PATH", "/usr/bin:/bin"}};
    std::string expected;
    bool finalNewline = true;

    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        auto directive = [&](const std::string& name) -> std::optional<std::string> {
            if (!line.starts_with("#! " + name)) return std::nullopt;
            std::string rest = line.substr(3 + name.size());
            if (rest.starts_with(":")) rest.erase(0, 1);
            if (rest.starts_with(" ")) rest.erase(0, 1);
            return substituted(rest, home.path());
        };
        if (line.starts_with("> ") || line == ">") {
            options.input += substituted(line.substr(std::min<size_t>(2, line.size())), home.path()) + "\n";
        } else if (line.starts_with("< ")) {
            expected += substituted(line.substr(2), home.path(), Context::expected) + "\n";
        } else if (auto args = directive("args")) {
            std::istringstream words(*args);
            for (std::string word; std::getline(words, word, ' ');) options.arguments.push_back(word);
        } else if (directive("no-final-newline")) {
            finalNewline = false;
        } else if (line.starts_with("#!") || (!line.empty() && line[0] != '#')) {
            // A misspelt directive or a line without its "> " would otherwise test nothing.
            ADD_FAILURE() << "a line the runner does not know: " << line;
        }
    }
    if (!finalNewline && !options.input.empty()) options.input.pop_back();

    ProcessResult result = runProcess(ZELMOR_MCP_BINARY, options);
    EXPECT_EQ(result.out, expected);
    EXPECT_EQ(std::make_tuple(result.exitStatus, result.signal), std::make_tuple(0, 0)) << result.err;
}

INSTANTIATE_TEST_SUITE_P(Cases, ProtocolFile, testing::ValuesIn(caseFiles()),
                         [](const testing::TestParamInfo<std::string>& param) {
                             std::string name = param.param.substr(0, param.param.rfind('.'));
                             for (char& c : name) c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
                             return name;
                         });

} // namespace
} // namespace zelmor::test
