// The commands of the program, each in a file of its name. add_<command> declares a command's arguments to the parser,
// and the function that runs it.
//
// A command reports failures to `report`, which also keeps the exit status.
#ifndef AMBIELF_TOOLS_COMMANDS_H
#define AMBIELF_TOOLS_COMMANDS_H

namespace CLI {
class App;
}

namespace ambielf::tools {

class Report;

void add_archive(CLI::App& app, Report& report);
void add_archive_symbols(CLI::App& app, Report& report);
void add_copy(CLI::App& app, Report& report);
void add_extract(CLI::App& app, Report& report);
void add_flip(CLI::App& app, Report& report);
void add_list(CLI::App& app, Report& report);
void add_members(CLI::App& app, Report& report);
void add_remove(CLI::App& app, Report& report);
void add_size(CLI::App& app, Report& report);
void add_strip(CLI::App& app, Report& report);
void add_symbols(CLI::App& app, Report& report);

}  // namespace ambielf::tools

#endif
