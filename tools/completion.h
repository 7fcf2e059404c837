// Completion of a command line, for the shells: what may stand where the cursor is, taken from the
// same description of the subcommands that their help is made of.

#ifndef ORLA_TOOLS_COMPLETION_H
#define ORLA_TOOLS_COMPLETION_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace orla_tool {

// The first argument of a call by a shell; the words after "orla" follow, the last the one to
// complete.
inline constexpr const char *kCompleteOption = "--complete";

// Prints one candidate a line, with a tab and its description where it has one; the line ":files"
// stands for the names of files. Candidates need not begin with the last word: the shells select.
void print_completions(const CLI::App &program, const std::vector<std::string> &words);

}  // namespace orla_tool

#endif
