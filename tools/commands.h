// The commands of the program, each in a file of its name: run_<command> runs one with the arguments that
// arguments.cpp has parsed.
//
// A command reports failures to `report`, which also keeps the exit status.
#ifndef AMBIELF_TOOLS_COMMANDS_H
#define AMBIELF_TOOLS_COMMANDS_H

#include <string>
#include <vector>

namespace ambielf::tools {

class Report;

struct ArchiveOptions {
  std::string archive;
  std::vector<std::string> objects;
};

struct ExtractOptions {
  std::string file;
  std::vector<std::string> members;  // all, if there are none
  std::string directory = ".";
};

struct FlipOptions {
  std::string in, out;
  bool report = false;
};

// The parts of an object to show.
struct Parts {
  bool header = false, sections = false, segments = false, symbols = false, relocations = false,
       dynamic = false, notes = false;
};
struct ListOptions {
  std::vector<std::string> files;
  Parts parts;  // all, if there are none
  bool json = false;
};

// The files of a command that writes an object anew; they may be one.
struct RewriteFiles {
  std::string in, out;
};
struct RemoveOptions {
  RewriteFiles files;
  std::vector<std::string> sections;  // names
};
struct StripOptions {
  RewriteFiles files;
  bool keeps_symbols = false;
};

struct SizeOptions {
  std::vector<std::string> files;
  bool totals = false, map = false;
};

struct SymbolsOptions {
  std::vector<std::string> files;
  bool dynamic = false, external = false, defined = false, undefined = false;
  bool file_names = false, by_value = false, unsorted = false, sizes = false;
};

void run_archive(const ArchiveOptions& options, Report& report);
void run_archive_symbols(const std::string& file, Report& report);
void run_copy(const RewriteFiles& files, Report& report);
void run_extract(const ExtractOptions& options, Report& report);
void run_flip(const FlipOptions& options, Report& report);
void run_list(ListOptions options, Report& report);
void run_members(const std::string& file, Report& report);
void run_remove(const RemoveOptions& options, Report& report);
void run_size(const SizeOptions& options, Report& report);
void run_strip(const StripOptions& options, Report& report);
void run_symbols(const SymbolsOptions& options, Report& report);

}  // namespace ambielf::tools

#endif
