// pelimo-openprobe: starts the copy of the program that lies beside our probe library.

#include "presethost.h"
#include "targetchoice.h"
#include "targetlist.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace {

constexpr int kNotStarted = 1;
constexpr int kWrongArguments = 2;
constexpr const char *kProgram = "pelimo";

constexpr const char *kUsage
    = "Usage: pelimo-openprobe [SELECTOR] [-- ARGUMENT...]\n"
      "Starts Pelimo with its own probe library instead of the maker's.\n"
      "\n"
      "SELECTOR is the target that the connection dialog proposes at this start. What is stored\n"
      "in the settings stays; another target chosen in the dialog counts instead.\n"
      "\n"
      "  --list      show the selectors, each with an example\n"
      "  --help      show this text\n"
      "  --version   show the version\n"
      "\n"
      "What stands behind -- goes to the program, e.g. -- -style fusion.\n";

[[nodiscard]] int Refuse(const std::string &sentence)
{
    std::fprintf(stderr, "pelimo-openprobe: %s\n", sentence.c_str());
    return kWrongArguments;
}

[[nodiscard]] int Print(const std::string &text)
{
    const bool printed
        = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0; // a full disk counts
    return printed ? EXIT_SUCCESS : EXIT_FAILURE;
}

std::string WithoutBlanks(const std::string &text)
{
    constexpr const char *kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// @param selector  without blanks at its ends
/// @return the sentence that says why the text selects no target; empty if it does
std::string WhyNoSelector(const std::string &selector)
{
    std::string why = OpenProbe::ParseSelector(selector, 0).error;
    if (why.empty() && !PRESET_IsUsable(selector))
        return "A selector has at most 63 characters, all of them printable.";
    return why;
}

/// Becomes the program; returns only when that fails.
[[nodiscard]] int Start(std::vector<char *> arguments)
{
    // With links followed: what lies in the folder of programs is a link to this file.
    std::error_code failure;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", failure);
    const std::string program = self.parent_path() / kProgram;
    std::string name = kProgram;
    arguments.insert(arguments.begin(), name.data());
    arguments.push_back(nullptr);
    execv(program.c_str(), arguments.data());
    std::fprintf(stderr, "pelimo-openprobe: %s cannot be started: %s\n", program.c_str(),
        std::strerror(errno));
    return kNotStarted;
}

[[nodiscard]] int Run(const std::vector<std::string> &own, const std::vector<char *> &forProgram)
{
    if (own.size() > 1)
        return Refuse("One target at a time; see pelimo-openprobe --help.");
    if (own.empty())
        return Start(forProgram);
    const std::string &argument = own.front();
    if (argument == "--help")
        return Print(kUsage);
    if (argument == "--version")
        return Print("pelimo-openprobe " PELIMO_VERSION "\n");
    if (argument == "--list")
        return Print(OpenProbe::TargetList());
    if (argument.starts_with('-'))
        return Refuse("There is no option " + argument + "; see pelimo-openprobe --help.");
    std::string selector = WithoutBlanks(argument);
    if (selector.empty())
        selector = "localhost"; // what the empty selector means; an empty variable is no preset
    const std::string why = WhyNoSelector(selector);
    if (!why.empty())
        return Refuse(why + "\nThe selectors: pelimo-openprobe --list");
    setenv(kPresetHostVariable, selector.c_str(), 1);
    return Start(forProgram);
}

} // namespace

int main(int argc, char **argv)
{
    std::vector<std::string> own;
    int at = 1;
    for (; at < argc && std::string_view(argv[at]) != "--"; ++at)
        own.emplace_back(argv[at]);
    return Run(own, {argv + (at < argc ? at + 1 : argc), argv + argc});
}
