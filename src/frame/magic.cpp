#include "frame/magic.h"

namespace ambielf {

MagicWord elf_magic = {0x32BF021C, 0x32BF021C, 70};
MagicWord elf_scn_magic = {0x10DC38AF, 0x10DC38AF, 71};
MagicWord data_desc_magic = {0x269AEE06, 0x269AEE06, 72};

}  // namespace ambielf
