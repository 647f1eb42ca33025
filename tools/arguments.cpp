// The only file with the parser's headers, which take seconds to compile.
#include "arguments.h"

#include <ambielf/ambielf.h>

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <utility>

#include "commands.h"

namespace ambielf::tools {

namespace {

std::string version() {
  return "ambielf " + std::to_string(AMBIELF_VERSION_MAJOR) + "." + std::to_string(AMBIELF_VERSION_MINOR) +
         "." + std::to_string(AMBIELF_VERSION_PATCH);
}

// The program and its commands, with a place for the arguments of each.
class CommandLine {
 public:
  explicit CommandLine(Report& report) : report_(report) {
    app_.set_version_flag("--version", version());
    app_.require_subcommand(1);
    archive();
    archive_symbols();
    copy();
    extract();
    flip();
    list();
    members();
    remove();
    size();
    strip();
    symbols();
  }

  CLI::App& app() { return app_; }

 private:
  CLI::App& add(const char* name, const char* what, std::function<void()> run) {
    return *app_.add_subcommand(name, what)->callback(std::move(run));
  }
  static void add_objects(CLI::App& command, std::vector<std::string>& files) {
    command.add_option("FILE", files, "Objects and archives")->required();
  }
  static void add_archive(CLI::App& command, std::string& file) {
    command.add_option("FILE", file, "The archive")->required();
  }
  static void add_in_and_out(CLI::App& command, std::string& in, std::string& out) {
    command.add_option("IN", in, "The object to read")->required();
    command.add_option("OUT", out, "The file to write; it may be IN")->required();
  }

  void archive() {
    CLI::App& command = add("archive", "Builds an archive of the library's format from objects.",
                            [this] { run_archive(archive_, report_); });
    command.add_option("OUT", archive_.archive, "The archive to write")->required();
    command.add_option("OBJECT", archive_.objects, "The objects, in the order that they get in it")
        ->required();
  }

  void archive_symbols() {
    add_archive(add("archive-symbols", "Prints the symbol table of an archive, a MEMBER and SYMBOL a line.",
                    [this] { run_archive_symbols(archive_symbols_, report_); }),
                archive_symbols_);
  }

  void copy() {
    add_in_and_out(
        add("copy", "Writes an object anew, with all that it has.", [this] { run_copy(copy_, report_); }),
        copy_.in, copy_.out);
  }

  void extract() {
    CLI::App& command = add("extract", "Writes the members of an archive to files.",
                            [this] { run_extract(extract_, report_); });
    add_archive(command, extract_.file);
    command.add_option("MEMBER", extract_.members, "Write these members only");
    command.add_option("-C,--directory", extract_.directory, "Write to this folder, not the current one")
        ->check(CLI::ExistingDirectory);
  }

  void flip() {
    CLI::App& command =
        add("flip", "Writes an object in the other byte order.", [this] { run_flip(flip_, report_); });
    add_in_and_out(command, flip_.in, flip_.out);
    command.add_flag("--report", flip_.report, "Tell for each section what was done");
  }

  void list() {
    CLI::App& command = add("list", "Shows what objects consist of.", [this] { run_list(list_, report_); });
    command.footer("Without options all parts are shown.");
    add_objects(command, list_.files);
    command.add_flag("-H,--header", list_.parts.header, "The ELF header");
    command.add_flag("-S,--sections", list_.parts.sections, "The sections");
    command.add_flag("-l,--segments", list_.parts.segments, "The program headers");
    command.add_flag("-s,--symbols", list_.parts.symbols, "The symbols");
    command.add_flag("-r,--relocations", list_.parts.relocations, "The relocations");
    command.add_flag("-d,--dynamic", list_.parts.dynamic, "The dynamic entries");
    command.add_flag("-n,--notes", list_.parts.notes, "The notes");
    command.add_flag("--json", list_.json, "A JSON list with an object for each object file");
  }

  void members() {
    add_archive(add("members", "Prints the names of an archive's members.",
                    [this] { run_members(members_, report_); }),
                members_);
  }

  void remove() {
    CLI::App& command = add("remove", "Writes an object without some of its sections.",
                            [this] { run_remove(remove_, report_); });
    command.add_option("--section", remove_.sections, "The names of the sections to remove")->required();
    add_in_and_out(command, remove_.files.in, remove_.files.out);
  }

  void size() {
    CLI::App& command = add("size", "Prints the sizes of code, data and zeros, or draws where the bytes go.",
                            [this] { run_size(size_, report_); });
    add_objects(command, size_.files);
    CLI::Option* const totals =
        command.add_flag("-t,--totals", size_.totals, "Print the sums over all objects as well");
    command.add_flag("--map", size_.map, "Draw where the bytes go, as an SVG picture")->excludes(totals);
  }

  void strip() {
    CLI::App& command = add("strip", "Writes an object without debug information and symbol table.",
                            [this] { run_strip(strip_, report_); });
    command.add_flag("-g,--strip-debug", strip_.keeps_symbols, "Remove debug information only");
    add_in_and_out(command, strip_.files.in, strip_.files.out);
  }

  void symbols() {
    CLI::App& command = add("symbols", "Prints the symbols of objects, a line for each.",
                            [this] { run_symbols(symbols_, report_); });
    add_objects(command, symbols_.files);
    command.add_flag("-D,--dynamic", symbols_.dynamic, "The dynamic symbols instead of the others");
    command.add_flag("-g,--external", symbols_.external, "Only symbols that other objects see");
    CLI::Option* const defined = command.add_flag("-U,--defined", symbols_.defined, "Only defined symbols");
    command.add_flag("-u,--undefined", symbols_.undefined, "Only undefined symbols")->excludes(defined);
    command.add_flag("-A,--file-names", symbols_.file_names, "Put the file's name before each line");
    CLI::Option* const by_value =
        command.add_flag("-n,--by-value", symbols_.by_value, "Sort by value, not by name");
    command.add_flag("-p,--unsorted", symbols_.unsorted, "Keep the order of the table")->excludes(by_value);
    command.add_flag("-S,--sizes", symbols_.sizes, "Print sizes behind the values");
  }

  Report& report_;
  CLI::App app_{"Reads, changes and writes 32-bit ELF object files of either byte order.", "ambielf"};
  ArchiveOptions archive_;
  std::string archive_symbols_, members_;
  RewriteFiles copy_;
  ExtractOptions extract_;
  FlipOptions flip_;
  ListOptions list_;
  RemoveOptions remove_;
  SizeOptions size_;
  StripOptions strip_;
  SymbolsOptions symbols_;
};

}  // namespace

Status run_command(int argc, char** argv) {
  Report report;
  CommandLine line(report);
  try {
    line.app().parse(argc, argv);
  } catch (const CLI::ParseError& problem) {
    return line.app().exit(problem) == 0 ? Status::success : Status::usage;
  }
  return report.status();
}

}  // namespace ambielf::tools
