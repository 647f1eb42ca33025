// What copy, strip and remove have in common: read an object, change what is to be written of it, write a new file.
#ifndef AMBIELF_TOOLS_REWRITE_H
#define AMBIELF_TOOLS_REWRITE_H

#include <functional>

namespace ambielf::tools {

class ObjectWriter;
class Report;
struct RewriteFiles;

// Writes files.in, as `edit` left it, to files.out, with its mode. What fails is reported and leaves files.out as it
// was. The two may be one file.
void rewrite(Report& report, const RewriteFiles& files, const std::function<void(ObjectWriter&)>& edit);

}  // namespace ambielf::tools

#endif
