// UTF-8, which the names in files need not be.
#ifndef AMBIELF_TOOLS_UTF8_H
#define AMBIELF_TOOLS_UTF8_H

#include <cstddef>
#include <string_view>

namespace ambielf::tools {

// The size of the UTF-8 sequence at the start of `text`; 0 if there is none. Overlong forms, surrogates and numbers
// above 0x10ffff do not count.
size_t utf8_sequence(std::string_view text);

}  // namespace ambielf::tools

#endif
