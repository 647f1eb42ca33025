// ambielf flip: a whole object in the other byte order.
#include <filesystem>
#include <string>

#include "commands.h"
#include "flip/object.h"
#include "inputs.h"
#include "output.h"
#include "output_file.h"

namespace ambielf::tools {

namespace {

using flip::FlippedObject;
using flip::FlippedSection;
using flip::Outcome;

std::string words_of(const Outcome& outcome) {
  const auto [converted, left] = outcome.tally;
  if (!outcome.reason.empty()) return "stays as it is: " + outcome.reason;
  if (left != 0) {
    const std::string all = std::to_string(converted + left);
    return std::to_string(left) + " of " + all + " stay as they are: they can't be read";
  }
  return converted != 0 ? std::to_string(converted) + " converted" : "bytes";
}

// A line for each section.
void print(const FlippedObject& object) {
  Output out;
  for (size_t i = 1; i < object.sections.size(); ++i) {
    const auto& [name, outcome] = object.sections[i];
    out.decimal(static_cast<int64_t>(i), 5).spaces(1).name(name, 24).spaces(1);
    out.text(words_of(outcome)).character('\n');
  }
  out.flush();
}

void warn(const FlippedObject& object, const std::string& path, Report& report) {
  constexpr size_t most = 20;
  size_t count = 0;
  for (size_t i = 0; i < object.sections.size(); ++i) {
    const auto& [name, outcome] = object.sections[i];
    if (outcome.expected || ++count > most) continue;
    std::string text = "section " + std::to_string(i) + ", ";
    append_visible(text, name);
    report.warning(path, text + ": " + words_of(outcome));
  }
  if (count > most) report.warning(path, std::to_string(count - most) + " more sections with such faults");
}

}  // namespace

void run_flip(const FlipOptions& options, Report& report) {
  report.attempt(options.in, [&] {
    const Contents input(options.in);
    if (kind_of(input.view()) != FileKind::object) throw Refusal("is an archive; only objects are flipped");
    const FlippedObject object = flip::flip_object(input.view());
    OutputFile out(options.out);
    out.write(object.bytes);
    out.commit(std::filesystem::status(options.in).permissions());
    if (options.report) print(object);
    warn(object, options.in, report);
  });
}

}  // namespace ambielf::tools
