/* One program, two generations of the library: the program's own is linked, the other comes with a plug-in. Each must
 * keep its own error code, whichever of them was loaded first. */
#include <ambielf/ambielf.h>
#include <stdio.h>

#ifdef PLUGIN

int plugin_error(void);
int plugin_error(void) {
  elf_kind(NULL); /* stores 32 in the plug-in's library */
  return elf_errno();
}

#else

int plugin_error(void);

int main(void) {
  elf_version(7); /* stores 54 in the program's library */
  int theirs = plugin_error();
  int ours = elf_errno();
  printf("ours %d, theirs %d\n", ours, theirs);
  return ours == 54 && theirs == 32 ? 0 : 1;
}

#endif
