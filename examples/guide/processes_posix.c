/* Counts the sections of many files in parallel: each process has its own library, so no lock is needed. */
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

static int count_sections(const char* path) {
  elf_version(EV_CURRENT);
  int file = elf_open(path, O_RDONLY, 0);
  Elf* elf = file != -1 ? elf_begin(file, ELF_C_READ, NULL) : NULL;
  if (elf == NULL || elf32_getehdr(elf) == NULL) {
    fprintf(stderr, "%s: %s\n", path, elf_errmsg(elf_errno()));
    return 1;
  }
  printf("%s: %u sections\n", path, elf32_getehdr(elf)->e_shnum);
  elf_end(elf);
  elf_close(file);
  return 0;
}

int main(int argc, char** argv) {
  /* Before any call of the library: a descriptor must not be used on both sides of a fork. */
  for (int i = 1; i < argc; ++i) {
    if (fork() == 0) return count_sections(argv[i]);
  }
  int failures = 0, status;
  while (wait(&status) != -1) failures += status != 0;
  return failures == 0 ? 0 : 1;
}
