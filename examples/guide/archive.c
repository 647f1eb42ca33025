/* Walks an archive, and opens the member that defines a symbol. */
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

static void list_members(int file, Elf* archive) {
  Elf_Cmd command = ELF_C_READ;
  while (command != ELF_C_NULL) {
    size_t place = (size_t)lseek(file, 0, SEEK_CUR);
    Elf* member = elf_begin(file, command, archive);
    if (member == NULL && elf_rand(archive, place) == place) {
      member = elf_begin(file, command, archive); /* no object: asked again, it comes without an ELF header */
    }
    if (member == NULL) return;
    printf("%s, %ld bytes at %ld\n", elf_getarhdr(member)->ar_name, elf_getarhdr(member)->ar_size,
           (long)elf_getbase(member));
    command = elf_next(member);
    elf_end(member);
  }
}

static Elf* open_definer(int file, Elf* archive, const char* symbol) {
  size_t count = 0;
  const Elf_Arsym* entries = elf_getarsym(archive, &count);
  for (size_t i = 0; entries != NULL && i < count; ++i) {
    if (strcmp(entries[i].as_name, symbol) != 0) continue;
    elf_rand(archive, entries[i].as_off);
    return elf_begin(file, ELF_C_READ, archive);
  }
  return NULL;
}

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  elf_version(EV_CURRENT);
  int file = elf_open(argv[1], O_RDONLY, 0);
  Elf* archive = file != -1 ? elf_begin(file, ELF_C_READ, NULL) : NULL;
  if (archive == NULL) {
    fprintf(stderr, "%s: %s\n", argv[1], elf_errmsg(elf_errno()));
    return 1;
  }
  list_members(file, archive);
  Elf* definer = open_definer(file, archive, argv[2]);
  if (definer != NULL) printf("%s is in %s\n", argv[2], elf_getarhdr(definer)->ar_name);
  if (definer != NULL) elf_end(definer);
  elf_end(archive); /* takes its members with it */
  elf_close(file);
  return definer != NULL ? 0 : 1;
}
