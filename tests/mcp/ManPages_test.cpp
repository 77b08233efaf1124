// The man pages against the executables' own --help: every command and option they offer is
// documented, and each page takes its version from the build, as the executables do.
#include "tests/support/Subprocess.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>
#include <sstream>

namespace zelmor {
namespace {

/// A page's text with roff's escaped hyphens made plain, so that options read as typed.
std::string manPage(const std::string& name) {
    std::string text = test::readFile(std::string(ZELMOR_SOURCE_DIR) + "/man/" + name + ".1");
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, 2, "\\-") == 0) {
            plain += '-';
            ++i;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

std::string help(const std::string& binary, std::vector<std::string> arguments) {
    test::ProcessOptions options;
    options.arguments = std::move(arguments);
    auto result = test::runProcess(binary, options);
    EXPECT_EQ(result.exitStatus, 0);
    return result.out;
}

/// The long options ("--name") a help text offers, without --help itself.
std::set<std::string> longOptions(const std::string& text) {
    std::set<std::string> options;
    std::regex option(R"((^|[\s,\[])(--[a-z][a-z-]*))");
    for (std::sregex_iterator it(text.begin(), text.end(), option), end; it != end; ++it)
        if ((*it)[2] != "--help") options.insert((*it)[2]);
    return options;
}

/// The page's ".SS" subsection whose heading starts with the command's name, up to the next heading.
std::string subsection(const std::string& page, const std::string& command) {
    size_t start = page.find("\n.SS \"" + command + " ");
    if (start == std::string::npos) start = page.find("\n.SS \"" + command + "\"");
    if (start == std::string::npos) return "";
    size_t end = std::min(page.find("\n.SS ", start + 1), page.find("\n.SH ", start + 1));
    return page.substr(start, end - start);
}

/// The version in the page's title line: .TH NAME 1 "date" "name VERSION" ...
std::string pageVersion(const std::string& page, const std::string& name) {
    std::smatch match;
    std::regex title("\\.TH [A-Z-]+ 1 \"[^\"]*\" \"" + name + " ([^\"]+)\"");
    return std::regex_search(page, match, title) ? match[1].str() : "";
}

/// What the build writes into the pages' version.
const std::string versionPlaceholder = "@PROJECT_VERSION@";

TEST(ManPages, ServerPageDocumentsEveryOptionAndTheVersion) {
    const std::string page = manPage("zelmor-mcp");
    const std::set<std::string> offered = longOptions(help(ZELMOR_MCP_BINARY, {"--help"}));
    EXPECT_EQ(offered, (std::set<std::string>{"--transcripts-folder", "--version"}));
    for (const std::string& option : offered) EXPECT_NE(page.find(option), std::string::npos) << option;
    EXPECT_NE(page.find(".BR --help \", \" -h"), std::string::npos);
    EXPECT_EQ(pageVersion(page, "zelmor-mcp"), versionPlaceholder);
}

TEST(ManPages, KitPageHasASubsectionForEveryCommandWithItsOptions) {
    const std::string page = manPage("zelmor-kit");
    const std::string overview = help(ZELMOR_KIT_BINARY, {"--help"});
    std::istringstream lines(overview.substr(overview.find("Subcommands:\n") + 13));
    std::vector<std::string> commands;
    for (std::string line; std::getline(lines, line) && line.starts_with("  ");)
        commands.push_back(line.substr(2, line.find(' ', 2) - 2));
    ASSERT_GE(commands.size(), 10u);
    EXPECT_NE(std::find(commands.begin(), commands.end(), "doctor"), commands.end());

    for (const std::string& command : commands) {
        std::string section = subsection(page, command);
        EXPECT_FALSE(section.empty()) << "no subsection for " << command;
        for (const std::string& option : longOptions(help(ZELMOR_KIT_BINARY, {command, "--help"})))
            EXPECT_NE(section.find(option), std::string::npos) << command << " " << option;
    }
    EXPECT_EQ(pageVersion(page, "zelmor-kit"), versionPlaceholder);
}

} // namespace
} // namespace zelmor
