#include "frame/magic.h"

namespace ambielf {

MagicWord elf_magic = {0x32BF021C, 0x32BF021C, ERR_ELF_MAGIC};
MagicWord elf_scn_magic = {0x10DC38AF, 0x10DC38AF, ERR_SCN_MAGIC};
MagicWord data_desc_magic = {0x269AEE06, 0x269AEE06, ERR_DATA_MAGIC};

}  // namespace ambielf
