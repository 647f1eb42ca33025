/* ambielf: reading, changing and writing 32-bit ELF object files of either byte order. */
#ifndef AMBIELF_AMBIELF_H
#define AMBIELF_AMBIELF_H

/* The library's version; a change of AMBIELF_ABI means that programs have to be linked anew. */
#define AMBIELF_VERSION_MAJOR 0
#define AMBIELF_VERSION_MINOR 1
#define AMBIELF_VERSION_PATCH 0
#define AMBIELF_ABI 0

#include <ambielf/elf32.h>
#include <stddef.h>
#include <stdint.h>

#if defined(AMBIELF_STATIC)
#define AMBIELF_API
#elif defined(_WIN32)
#if defined(AMBIELF_BUILDING)
#define AMBIELF_API __declspec(dllexport)
#else
#define AMBIELF_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define AMBIELF_API __attribute__((visibility("default")))
#else
#define AMBIELF_API
#endif

#if defined(__cplusplus)
#define AMBIELF_U32 : uint32_t
extern "C" {
#else
#define AMBIELF_U32
#endif

typedef struct Elf Elf;
typedef struct Elf_Scn Elf_Scn;

enum Elf_Cmd AMBIELF_U32 {
  ELF_C_NULL = 0,
  ELF_C_READ = 1,
  ELF_C_WRITE = 2,
  ELF_C_CLR = 3,
  ELF_C_SET = 4,
  ELF_C_FDDONE = 5,
  ELF_C_FDREAD = 6,
  ELF_C_RDWR = 7,
};
typedef enum Elf_Cmd Elf_Cmd;

enum Elf_Kind AMBIELF_U32 { ELF_K_NONE = 0, ELF_K_AR = 1, ELF_K_COFF = 2, ELF_K_ELF = 3 };
typedef enum Elf_Kind Elf_Kind;

enum Elf_Type AMBIELF_U32 {
  ELF_T_BYTE = 0,
  ELF_T_ADDR = 1,
  ELF_T_DYN = 2,
  ELF_T_EHDR = 3,
  ELF_T_HALF = 4,
  ELF_T_OFF = 5,
  ELF_T_PHDR = 6,
  ELF_T_RELA = 7,
  ELF_T_REL = 8,
  ELF_T_SHDR = 9,
  ELF_T_SWORD = 10,
  ELF_T_SYM = 11,
  ELF_T_WORD = 12,
  ELF_T_NOSWAP4 = 13,
  ELF_T_WORDS6 = 14,
  ELF_T_LNNO = 15,
  ELF_T_SDB = 16,
  ELF_T_RELA_LNNO_UP = 17,
  ELF_T_RELA_LNNO_DOWN = 18,
  ELF_T_WORDS3 = 19,
  ELF_T_WORDS4 = 20,
  ELF_T_NONE = 21,
};
typedef enum Elf_Type Elf_Type;

enum { ELF_F_DIRTY = 1, ELF_F_LAYOUT = 4 };

enum { ELF_SWAP_TO_HOST = 1, ELF_SWAP_TO_LSB = 2, ELF_SWAP_TO_MSB = 3, ELF_SWAP_NEVER = 4 };

/* Section types of this library's own, beside the published SHT_* numbers 0 to 11. */
enum {
  SHT_WORDS6 = 13,
  SHT_OFFTAB = 14,
  SHT_COFFDBG = 15,
  SHT_LNNO = 16,
  SHT_SDB = 17,
  SHT_RELA_LNNO_UP = 18,
  SHT_RELA_LNNO_DOWN = 19,
  SHT_WORDS3 = 20,
  SHT_WORDS4 = 21
};

typedef struct {
  void* d_buf;
  uint32_t d_type;
  uint32_t d_size;
  int32_t d_off;
  int32_t d_align;
  uint32_t d_version;
} Elf_Data;

typedef struct {
  char* ar_name;
  long ar_date;
  long ar_uid;
  long ar_gid;
  long ar_mode;
  long ar_size;
  char* ar_rawname;
} Elf_Arhdr;

typedef struct {
  char* as_name;
  uint32_t as_off;
  uint32_t as_hash;
} Elf_Arsym;

typedef int (*Elf_ReadSwapController)(const Elf32_Shdr* header, const char* name);

AMBIELF_API int elf_errno(void);
AMBIELF_API const char* elf_errmsg(int err);
AMBIELF_API unsigned elf_version(unsigned ver);
AMBIELF_API void elf_fill(int fill);

AMBIELF_API Elf* elf_begin(int fildes, Elf_Cmd cmd, Elf* ref);
AMBIELF_API Elf* elf_memory(char* image, size_t size);
AMBIELF_API int elf_end(Elf* elf);
AMBIELF_API Elf_Kind elf_kind(Elf* elf);
AMBIELF_API Elf32_Ehdr* elf32_getehdr(Elf* elf);

AMBIELF_API int64_t elf_getbase(Elf* elf);
AMBIELF_API char* elf_getident(Elf* elf, size_t* size);
AMBIELF_API Elf_Scn* elf_getscn(Elf* elf, size_t index);
AMBIELF_API Elf_Scn* elf_nextscn(Elf* elf, Elf_Scn* scn);
AMBIELF_API size_t elf_ndxscn(Elf_Scn* scn);
AMBIELF_API Elf32_Shdr* elf32_getshdr(Elf_Scn* scn);
AMBIELF_API Elf_Data* elf_getdata(Elf_Scn* scn, Elf_Data* data);
AMBIELF_API char* elf_strptr(Elf* elf, size_t section, size_t offset);
AMBIELF_API int elf_cntl(Elf* elf, Elf_Cmd cmd);

AMBIELF_API uint32_t elf32_fsize(uint32_t type, uint32_t count, uint32_t version);
AMBIELF_API Elf_Data* elf32_xlatetof(Elf_Data* dst, const Elf_Data* src, unsigned encoding);
AMBIELF_API Elf_Data* elf32_xlatetom(Elf_Data* dst, const Elf_Data* src, unsigned encoding);
AMBIELF_API int elf_setswapbehavior(Elf_Scn* section, int behavior);
AMBIELF_API Elf_ReadSwapController elf_setreadswapcontroller(Elf* elf, Elf_ReadSwapController controller);

AMBIELF_API Elf32_Ehdr* elf32_newehdr(Elf* elf);
AMBIELF_API Elf32_Phdr* elf32_newphdr(Elf* elf);
AMBIELF_API Elf_Scn* elf_newscn(Elf* elf);
AMBIELF_API Elf_Data* elf_newdata(Elf_Scn* scn);
AMBIELF_API unsigned elf_flagelf(Elf* elf, Elf_Cmd cmd, unsigned flags);
AMBIELF_API unsigned elf_flagehdr(Elf* elf, Elf_Cmd cmd, unsigned flags);
AMBIELF_API unsigned elf_flagscn(Elf_Scn* scn, Elf_Cmd cmd, unsigned flags);
AMBIELF_API unsigned elf_flagshdr(Elf_Scn* scn, Elf_Cmd cmd, unsigned flags);
AMBIELF_API unsigned elf_flagdata(Elf_Data* data, Elf_Cmd cmd, unsigned flags);

AMBIELF_API int32_t elf_update(Elf* elf, Elf_Cmd cmd);

AMBIELF_API Elf32_Phdr* elf32_getphdr(Elf* elf);
AMBIELF_API Elf32_Shdr* elf32_getshdrtab(Elf* elf);
AMBIELF_API void elf32_freeshdrtab(void* table);
AMBIELF_API Elf_Data* elf32_getphdrdata(Elf* elf, unsigned index);
AMBIELF_API int elf32_setphdrdata(Elf32_Phdr* phdr, Elf_Scn* scn);

AMBIELF_API Elf_Arhdr* elf_getarhdr(Elf* elf);
AMBIELF_API Elf_Arsym* elf_getarsym(Elf* elf, size_t* count);
AMBIELF_API Elf_Cmd elf_next(Elf* elf);
AMBIELF_API size_t elf_rand(Elf* elf, size_t offset);

AMBIELF_API int elf_open(const char* path, int oflag, int pmode);
AMBIELF_API int elf_close(int fildes);
AMBIELF_API int64_t elf_mopen(const char* path, void** view);
AMBIELF_API int elf_mclose(void* view);

#if defined(__cplusplus)
}
#endif

#endif
