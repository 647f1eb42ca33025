/* Uses what a rewritten executable could lose: initialised and zeroed data, constructors, thread-local storage, the
 * dynamic linker's tables, the program header table (dl_iterate_phdr). */
#define _GNU_SOURCE
#include <link.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int constructed;
static char zeroed[5000];
static __thread int local = 7, local_zero;
static const char* const words[] = {"pear", "apple", "fig"};

__attribute__((constructor)) static void construct(void) { constructed = 1; }

static int segment(struct dl_phdr_info* info, size_t size, void* loads) {
  (void)size;
  for (int i = 0; i < info->dlpi_phnum; ++i) *(int*)loads += info->dlpi_phdr[i].p_type == PT_LOAD;
  return 0;
}

static int compare(const void* a, const void* b) { return strcmp(*(char* const*)a, *(char* const*)b); }

int main(int argc, char** argv) {
  int loads = 0, zeros = 0;
  const char* sorted[3];
  dl_iterate_phdr(segment, &loads);
  memcpy(sorted, words, sizeof words);
  qsort(sorted, 3, sizeof *sorted, compare);
  for (size_t i = 0; i < sizeof zeroed; ++i) zeros += zeroed[i] == 0;
  printf("%d %d %d %d %d %s %s %.4f\n", constructed, loads > 0, zeros, local, local_zero, sorted[0],
         argv[argc - 1], sqrt(argc + 1.0));
  return argc + 40;
}
