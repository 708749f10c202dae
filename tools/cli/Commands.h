// The tool's commands.
#ifndef KOVO_CLI_COMMANDS_H
#define KOVO_CLI_COMMANDS_H

#include <vector>

#include "Cli.h"

namespace kovo::cli {

struct Command {
    const char* name;
    const char* synopsis;  // arguments after the command name
    const char* help;      // what it does and its own options
    OptionTable options;    // beyond the common ones
    int (*run)(const Args& args);
};

const std::vector<Command>& commands();

int runInfo(const Args& args);
int runList(const Args& args);
int runGet(const Args& args);
int runSet(const Args& args);
int runPtz(const Args& args);
int runFiles(const Args& args);
int runSnapshot(const Args& args);
int runRecord(const Args& args);
int runWatch(const Args& args);

// The positional words a command needs: exactly `count` (or at least, when
// `atLeast`), else a usage error naming what is missing or extra.
void expectWords(const Args& args, size_t count, const char* what, bool atLeast = false);

}  // namespace kovo::cli

#endif
