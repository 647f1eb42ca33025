/** @file
 * ambielf: reading, changing and writing 32-bit ELF object files of either byte order.
 *
 * This header is the library's whole interface. It compiles as C99 and later and as C++11 and later, alone or
 * together with the system's <elf.h> in either order. <ambielf/elf32.h> provides the records of the ELF
 * standard.
 *
 * Conventions that hold for every function below:
 *
 * 1. Data model. An Elf is a descriptor: of an object file, of an archive, or of one member of an archive.
 *    An object has one ELF header, a table of section headers and a table of program headers, all loaded
 *    when it is opened. An Elf_Scn is one section of it, loaded when it is first asked for; section 0 is the
 *    null section of the standard. A section's contents are a list of blocks, each an Elf_Data. A section
 *    that comes from a file has one block, or none if its type is SHT_NULL or SHT_NOBITS; elf_newdata adds
 *    blocks. Sizes, offsets and alignments are in bytes. Only ELFCLASS32 is supported.
 *
 * 2. Failures. A function that fails returns its failure value (NULL, 0 or -1, as stated below) and stores
 *    one code, which elf_errno reads and clears and elf_errmsg puts in words. Success clears no code, and
 *    stores none with the two exceptions below, so a code is meaningful only after a failure value. The end
 *    of a walk is a failure too, with a code that says so. What a failing call has done before it fails stays
 *    done. "Codes" lists what a function can report, in the order of its checks. Running out of memory gives 4
 *    unless another code is listed. The library prints nothing, and no exception leaves it.
 *
 *    A section whose contents could not be converted, or only in part, is loaded all the same, and the code
 *    stays: see elf_getscn. Converting .debug_info needs .debug_abbrev; without it units keep their bodies as
 *    they are, and whatever converts them (a load, elf_update, elf32_xlatetof, elf32_xlatetom, elf_end of an
 *    image) succeeds and leaves a code: 32 there is no .debug_abbrev, 37 it has no contents, 28 or another
 *    code of elf_getscn if it can't be loaded.
 *
 * 3. Ownership. Descriptors, sections, blocks and the records that functions return belong to the library.
 *    The caller owns the file id, a memory image, every buffer that it stores in Elf_Data::d_buf, and the
 *    header tables of elf32_getphdr and elf32_getshdrtab. The library never closes the caller's file id.
 *
 * 4. Lifetimes. A pointer from the library is valid until elf_end releases its descriptor. The members of an
 *    archive, and everything that belongs to them, end with the archive's descriptor. A memory image must
 *    outlive its descriptor, and a buffer in d_buf the last elf_update. A handle that has ended must not be
 *    used.
 *
 * 5. Records are live. The header records and blocks that functions return are the ones that the library
 *    works with. A caller changes their fields directly and marks them with the elf_flag functions.
 *
 * 6. Byte order. Header records in memory are in the host's byte order, whatever the file's order;
 *    e_ident[EI_DATA] in the header gives the file's. A section's swap behaviour gives the order of its
 *    contents in memory, by default the host's. Symbols, relocations, dynamic entries, words and the sections
 *    .debug_info and .debug_line of DWARF 2 to 5 are converted; plain bytes never change.
 *
 * 7. File position. The position of a file id is part of the interface. Loading moves it. In an archive it is
 *    the cursor that elf_begin, elf_next and elf_rand share. elf_update writes from the current position.
 *    Nothing else may move it during a call.
 *
 *    On Windows a file id is an entry in a table of a C run-time library, and those that the library takes and
 *    gives are of the run-time library that it was linked with: msvcrt.dll if Debian's compilers built it. In
 *    a program that uses another one (the UCRT, which Visual Studio uses) the same number is no file, or another
 *    file. Such a program takes its ids from elf_open, ends them with elf_close and passes them to no function
 *    but the library's; or it uses elf_mopen and elf_memory; or it builds the library for its own run-time
 *    library, for which the guide has the lines.
 *
 * 8. Threads. The error code, the work version and the fill value belong to the process, and the library locks
 *    nothing: only one thread at a time may call it, even for different descriptors.
 *
 * 9. Handles are trusted. A function that takes a handle refuses NULL; anything else must be a live handle of
 *    this library. Codes 70 (Elf), 71 (Elf_Scn) and 72 (Elf_Data), bad magic number, mean that the library's
 *    own state has been overwritten. The contents of files and images are never trusted: any bytes are safe
 *    to open.
 */
#ifndef AMBIELF_AMBIELF_H
#define AMBIELF_AMBIELF_H

/** The library's version: major, a change that breaks programs. */
#define AMBIELF_VERSION_MAJOR 0
/** The library's version: minor, additions. */
#define AMBIELF_VERSION_MINOR 1
/** The library's version: patch, corrections. */
#define AMBIELF_VERSION_PATCH 0
/** The number of the binary interface: programs linked with another number must be linked again. */
#define AMBIELF_ABI 0

#include <ambielf/elf32.h>
#include <stddef.h>
#include <stdint.h>

/** @cond
 * AMBIELF_API marks what the library exports. AMBIELF_STATIC is defined by programs that link the static
 * library, AMBIELF_BUILDING by the library's own build. */
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
/** @endcond */

/** A descriptor: of an object, an archive, or a member of an archive. */
typedef struct Elf Elf;

/** A section of an object. */
typedef struct Elf_Scn Elf_Scn;

/** What a descriptor is opened for, and the commands of other functions. */
enum Elf_Cmd AMBIELF_U32 {
  ELF_C_NULL = 0,   /**< nothing; elf_update: lay the file out without writing it */
  ELF_C_READ = 1,   /**< open for reading */
  ELF_C_WRITE = 2,  /**< open a new file for writing; elf_update: lay out and write */
  ELF_C_CLR = 3,    /**< the flag functions: clear */
  ELF_C_SET = 4,    /**< the flag functions: set */
  ELF_C_FDDONE = 5, /**< elf_cntl: stop using the file id */
  ELF_C_FDREAD = 6, /**< elf_cntl: load everything, then as ELF_C_FDDONE */
  ELF_C_RDWR = 7    /**< open for reading and rewriting */
};
/** @see enum Elf_Cmd */
typedef enum Elf_Cmd Elf_Cmd;

/** What a descriptor is. */
enum Elf_Kind AMBIELF_U32 {
  ELF_K_NONE = 0, /**< the failure value of elf_kind */
  ELF_K_AR = 1,   /**< an archive, or a member of one */
  ELF_K_COFF = 2, /**< never reported */
  ELF_K_ELF = 3   /**< a stand-alone object: a file, an image, or a new one */
};
/** @see enum Elf_Kind */
typedef enum Elf_Kind Elf_Kind;

/** How the bytes of a block divide into records: the values of Elf_Data::d_type. elf32_fsize gives the size of a
 * record. Loaded blocks have ELF_T_BYTE instead of ELF_T_LNNO and ELF_T_SDB, and ELF_T_RELA instead of the two
 * ELF_T_RELA_LNNO types. */
enum Elf_Type AMBIELF_U32 {
  ELF_T_BYTE = 0,          /**< plain bytes, 1 byte */
  ELF_T_ADDR = 1,          /**< Elf32_Addr, 4 bytes */
  ELF_T_DYN = 2,           /**< Elf32_Dyn, 8 bytes */
  ELF_T_EHDR = 3,          /**< Elf32_Ehdr, 52 bytes */
  ELF_T_HALF = 4,          /**< Elf32_Half, 2 bytes */
  ELF_T_OFF = 5,           /**< Elf32_Off, 4 bytes */
  ELF_T_PHDR = 6,          /**< Elf32_Phdr, 32 bytes */
  ELF_T_RELA = 7,          /**< Elf32_Rela, 12 bytes */
  ELF_T_REL = 8,           /**< Elf32_Rel, 8 bytes */
  ELF_T_SHDR = 9,          /**< Elf32_Shdr, 40 bytes */
  ELF_T_SWORD = 10,        /**< Elf32_Sword, 4 bytes; has a size, but conversion refuses it (82) */
  ELF_T_SYM = 11,          /**< Elf32_Sym, 16 bytes */
  ELF_T_WORD = 12,         /**< Elf32_Word, 4 bytes */
  ELF_T_NOSWAP4 = 13,      /**< an item of 4 bytes that conversion refuses (82) */
  ELF_T_WORDS6 = 14,       /**< six words, 24 bytes */
  ELF_T_LNNO = 15,         /**< a COFF line number: address or symbol (4), line (2); 6 bytes */
  ELF_T_SDB = 16,          /**< a COFF symbol: name (8), value (4), section (2), type (2), storage class (1),
                                auxiliary records (1); 18 bytes */
  ELF_T_RELA_LNNO_UP = 17, /**< Elf32_Rela whose r_offset is rescaled from 6-byte to 8-byte line numbers */
  ELF_T_RELA_LNNO_DOWN = 18, /**< Elf32_Rela whose r_offset is rescaled from 8-byte to 6-byte line numbers */
  ELF_T_WORDS3 = 19,         /**< three words, 12 bytes */
  ELF_T_WORDS4 = 20,         /**< four words, 16 bytes */
  ELF_T_NONE = 21            /**< no data type; never in a block */
};
/** @see enum Elf_Type */
typedef enum Elf_Type Elf_Type;

/** Flags, combined by |. */
enum {
  ELF_F_DIRTY = 1, /**< changed: elf_update writes a descriptor only if its flag is set */
  ELF_F_LAYOUT = 4 /**< of a descriptor: the caller sets offsets, sizes and alignments, see elf_update */
};

/** Swap behaviours: the byte order of a section's blocks in memory. */
enum {
  ELF_SWAP_TO_HOST = 1, /**< the host's; the default of every section */
  ELF_SWAP_TO_LSB = 2,  /**< little-endian */
  ELF_SWAP_TO_MSB = 3,  /**< big-endian */
  ELF_SWAP_NEVER = 4    /**< the file's */
};

/** This library's own section types. The types 0 to 11 are those of the standard, and 12 counts as plain bytes. A
 * section with a type above 21 cannot be loaded (28). Compilers use some of these numbers for other things,
 * mainly for group sections (17), so contents whose sh_entsize is above 0 and smaller than the record are left
 * alone. */
enum {
  SHT_WORDS6 = 13,       /**< records of ELF_T_WORDS6 */
  SHT_OFFTAB = 14,       /**< records of ELF_T_OFF */
  SHT_COFFDBG = 15,      /**< COFF debug records; .lnno.* and .coff.SDB hold ELF_T_LNNO and ELF_T_SDB, others
                              are plain bytes. Big-endian files store these records in 8 and 20 bytes; loading
                              narrows them to 6 and 18, and changes sh_size and sh_entsize to match. */
  SHT_LNNO = 16,         /**< records of ELF_T_LNNO */
  SHT_SDB = 17,          /**< records of ELF_T_SDB */
  SHT_RELA_LNNO_UP = 18, /**< records of ELF_T_RELA_LNNO_UP */
  SHT_RELA_LNNO_DOWN = 19, /**< records of ELF_T_RELA_LNNO_DOWN */
  SHT_WORDS3 = 20,         /**< records of ELF_T_WORDS3 */
  SHT_WORDS4 = 21          /**< records of ELF_T_WORDS4 */
};

/** A block of section contents. */
typedef struct {
  void* d_buf;        /**< the bytes; NULL in a block from elf_newdata until the caller sets it */
  uint32_t d_type;    /**< an Elf_Type */
  uint32_t d_size;    /**< bytes in the block */
  int32_t d_off;      /**< offset in the section, bytes; set by layout unless ELF_F_LAYOUT is set */
  int32_t d_align;    /**< alignment in the section, bytes; 0 counts as 1, any number is allowed */
  uint32_t d_version; /**< the version of the records: EV_CURRENT */
} Elf_Data;

/** The header of an archive member. The header has all numbers, including the mode, as decimal text. */
typedef struct {
  char* ar_name;    /**< the name, without the "/" that ends it in the file */
  long ar_date;     /**< date, as the archive's writer counted it */
  long ar_uid;      /**< user id */
  long ar_gid;      /**< group id */
  long ar_mode;     /**< mode */
  long ar_size;     /**< size of the member, bytes */
  char* ar_rawname; /**< the name field as it stands in the file */
} Elf_Arhdr;

/** An entry of an archive's symbol table. */
typedef struct {
  char* as_name;    /**< the symbol */
  uint32_t as_off;  /**< file offset of the header of the member that defines it, for elf_rand */
  uint32_t as_hash; /**< without meaning, 0 */
} Elf_Arsym;

/** Chooses the swap behaviour of a section while it is loaded.
 *
 * @param header  the section's header, in host order
 * @param name    its name, ended by a zero byte
 * @return one of the ELF_SWAP values; anything else leaves the block in file order and stores code 98
 */
typedef int (*Elf_ReadSwapController)(const Elf32_Shdr* header, const char* name);

/** @name State and errors
 * @{ */

/** Gives the stored code and clears it.
 *
 * @return the code of the last failure, 0 if there was none since the last call
 */
AMBIELF_API int elf_errno(void);

/** Puts a code in words. The stored code is neither read nor changed.
 *
 * @param err  a code, usually what elf_errno returned
 * @return the text, which is static and never NULL; for a number that is not a code, the text of code 0
 */
AMBIELF_API const char* elf_errmsg(int err);

/** Sets the version of ELF that the program works with. Call it before elf_begin.
 *
 * @param ver  EV_CURRENT; EV_NONE only queries
 * @return EV_CURRENT, or EV_NONE on failure
 * @codes 54 the version is unknown
 */
AMBIELF_API unsigned elf_version(unsigned ver);

/** Sets the byte that fills the gaps in written files. It starts as 0.
 *
 * @param fill  the value; its low 8 bits count
 */
AMBIELF_API void elf_fill(int fill);

/** @}
 * @name Opening and ending
 * @{ */

/** Opens a file, opens a member of an archive, or adds a reference to a descriptor.
 *
 * Without `ref` the file's first bytes, read from its current position, tell what it is. For an object the
 * headers are loaded, and the position moves to 0; for an archive the list of members is made, and the position
 * moves to the first member's header. With ELF_C_WRITE nothing is read, `ref` is ignored, and the descriptor is
 * empty.
 *
 * If `ref` is an archive, the member whose header is at the file position is opened or, if it is open already,
 * gets one more reference. If `ref` is a stand-alone object, that descriptor gets one more reference. elf_end
 * gives a reference back. A member that failed to open is open all the same: the next call gives it without a
 * code and with what had been loaded before the failure. As a rule, that is no ELF header.
 *
 * e_version tells the byte order of an object; e_ident[EI_DATA] in the file is ignored, and set to that order in
 * memory. If the file's end cuts off a header or a table entry, the missing bytes read as zeros. The library
 * does not check e_ident[EI_CLASS]; the caller must. A 64-bit object opens, but its fields mean nothing.
 *
 * @param fildes  a file id, open for the access that `cmd` needs; it still belongs to the caller
 * @param cmd     ELF_C_READ, ELF_C_WRITE or ELF_C_RDWR; ELF_C_NULL gives NULL without a code, which ends the
 *                usual loop over an archive
 * @param ref     NULL, or a descriptor on the same file
 * @return the descriptor, or NULL
 * @codes 70 bad magic number; 80 elf_version was not called; 1 fildes is -1; 55, 57, 48, 4 no memory for
 *        the file's record, an archive, a descriptor, anything else.
 *        Without `ref`: 5 the file's size can't be had or is above 4 GiB - 1; 8 nothing can be read; 6
 *        neither an object nor an archive; 20 ELF_C_RDWR on an archive; 10 a bad first header or symbol
 *        table in an archive; 11 a bad member header; 12 an archive without members; 88, 89, 17 no seek;
 *        39 cmd is none of the three.
 *        For the headers of an object: 88, 89, 17 no seek; 8 no read; 6 a member that is no object; 27,
 *        100 an entry size of the section, program header table that is too small.
 *        With `ref`: 87 ELF_C_RDWR, but the descriptor was not opened so; 48 it has 65535 references; 88, 89,
 *        17 the position can't be had; 60 it is a member; 13 no member starts at the position; 20 a member for
 *        writing; 39 as above.
 */
AMBIELF_API Elf* elf_begin(int fildes, Elf_Cmd cmd, Elf* ref);

/** Opens an object that lies in memory, for reading.
 *
 * The image is used in place. While the descriptor lives, the header and the contents of loaded sections may be
 * in another byte order than the file's, so the caller must not read them through the image. Whatever reaches
 * past the image reads as zeros. elf_version need not have been called.
 *
 * elf_end restores the image, except for three things. e_ident[EI_DATA] keeps the byte order that was found.
 * Offsets that loading has rescaled in relocations of line numbers (.rela.lnno.* in a big-endian file,
 * SHT_RELA_LNNO_UP, SHT_RELA_LNNO_DOWN) stay so. The caller's changes stay; and as elf_end goes by the header's
 * EI_DATA, and by the type, name and swap behaviour that a section has then, contents are not restored if the
 * caller has changed these without converting them.
 *
 * @param image  the object's first byte, writable, at any alignment; it must outlive the descriptor
 * @param size   bytes in the image, at most 4 GiB - 1
 * @return the descriptor, with kind ELF_K_ELF, or NULL
 * @codes 55, 48, 4 no memory; 3 image is NULL or size 0; 6 not an object, or too large; 9 an archive;
 *        27, 100 an entry size of the section, program header table that is too small
 */
AMBIELF_API Elf* elf_memory(char* image, size_t size);

/** Gives back one reference to a descriptor. The last reference releases it and everything that it owns.
 *
 * Releasing an archive releases its members, whatever their references. A member without users stays with its
 * archive, and elf_begin finds it again. Nothing is written to the file, and the file id stays open.
 *
 * @param elf  the descriptor
 * @return 0 if the descriptor has been released; otherwise the number of references left; -1 on failure. A
 *         member's archive holds one reference to it.
 * @codes 32 elf is NULL; 70 bad magic number; 38 a member that has no users left
 */
AMBIELF_API int elf_end(Elf* elf);

/** Tells what a descriptor is.
 *
 * @param elf  the descriptor
 * @return ELF_K_ELF for a stand-alone object, ELF_K_AR for an archive and for its members;
 *         ELF_K_NONE on failure
 * @codes 32 elf is NULL; 70 bad magic number
 */
AMBIELF_API Elf_Kind elf_kind(Elf* elf);

/** Gives the ELF header of an object.
 *
 * @param elf  the descriptor
 * @return the live header, in host order; NULL without a code if there is none (an archive, a new file), NULL
 *         with a code on failure
 * @codes 32 elf is NULL; 70 bad magic number
 */
AMBIELF_API Elf32_Ehdr* elf32_getehdr(Elf* elf);

/** @}
 * @name Reading
 * @{ */

/** Tells where an object begins in its file.
 *
 * @param elf  the descriptor
 * @return offset in bytes: of a member's contents in the archive file, 0 for everything else; -1 on failure
 * @codes 32 elf is NULL; 70 bad magic number; 6 a descriptor of no known kind
 */
AMBIELF_API int64_t elf_getbase(Elf* elf);

/** Gives the identification bytes of an object, e_ident.
 *
 * @param elf   the descriptor
 * @param size  where their number (EI_NIDENT, 16) is stored, or 0 with codes 32 and 44; may be NULL
 * @return the live bytes, or NULL
 * @codes 32 elf is NULL; 70 bad magic number; 44 no header
 */
AMBIELF_API char* elf_getident(Elf* elf, size_t* size);

/** Gives a section, and loads its contents when it is first asked for.
 *
 * Loading moves the file position. It asks the controller of elf_setreadswapcontroller for the swap behaviour
 * and converts the contents accordingly. In a file of the other byte order the section's name must be readable.
 *
 * A load can succeed and leave a code: 98 the controller gave an invalid answer, and the contents stay in file
 * order; 4 memory ran out while a debug section was converted, and its last units stay in file order; 32, 37 or a
 * code of loading .debug_abbrev, for .debug_info (convention 2); 4, 88, 89, 17, 8 the name table can't be read,
 * which a file of the host's byte order does not need.
 *
 * @param elf    the descriptor of an object
 * @param index  0 to the number of sections - 1
 * @return the section, always the same for this index; or NULL
 * @codes 32 elf is NULL; 70 bad magic number; 21 no such section; 42 not loaded before elf_cntl ended
 *        loading; 4, 31 no memory for the section or its contents, for its block; 88, 89, 17 no seek; 8 no
 *        read; 25, 21, 68, 37 no name to be had in a file of the other byte order, because there is no name
 *        table, e_shstrndx names no section, it names no string table or the name lies behind its end, the
 *        table has no contents; 28 a type above 21, also that of the name table in a file of the other byte
 *        order
 */
AMBIELF_API Elf_Scn* elf_getscn(Elf* elf, size_t index);

/** Walks the sections of an object. The walk starts at section 1.
 *
 * @param elf  the descriptor of an object
 * @param scn  the section before, NULL for the first
 * @return the next section, loaded as by elf_getscn; NULL at the end and on failure
 * @codes 32 elf is NULL; 70, 71 bad magic number; 21 no further section, or it can't be loaded: the code
 *        of the load is replaced. elf_getscn with elf_ndxscn(scn) + 1 tells the two apart.
 */
AMBIELF_API Elf_Scn* elf_nextscn(Elf* elf, Elf_Scn* scn);

/** Gives the index of a section.
 *
 * @param scn  the section
 * @return its index; 0 on failure, which is also the index of the null section
 * @codes 32 scn is NULL; 71 bad magic number
 */
AMBIELF_API size_t elf_ndxscn(Elf_Scn* scn);

/** Gives the header of a section.
 *
 * @param scn  the section
 * @return the live header, in host order; or NULL
 * @codes 32 scn is NULL; 71 bad magic number; 27 no section header; 53 no descriptor; 44 no ELF header
 */
AMBIELF_API Elf32_Shdr* elf32_getshdr(Elf_Scn* scn);

/** Walks the blocks of a section.
 *
 * @param scn   the section
 * @param data  the block before, NULL for the first
 * @return the next block, live; NULL at the end and on failure
 * @codes 32 scn is NULL; 71, 72 bad magic number; 37 no further block, or data is not one of this section; 4, 31 no
 *        memory for a block that nobody has asked for before
 */
AMBIELF_API Elf_Data* elf_getdata(Elf_Scn* scn, Elf_Data* data);

/** Gives a string from a string table.
 *
 * In a table of several blocks the first block that reaches as far as the offset decides. The library does not
 * check that a zero byte ends the string. If the table in the file does not end with one, a careful reader
 * compares with d_size of the block.
 *
 * @param elf      the descriptor of an object
 * @param section  index of a section of type SHT_STRTAB, above 0
 * @param offset   bytes from the start of the section
 * @return the string, which must not be written; or NULL
 * @codes 32 elf is NULL; 25 section is 0; 70 bad magic number; the codes of elf_getscn; 68 not a string table, or
 *        the offset lies behind its end; 37 no block holds the offset
 */
AMBIELF_API char* elf_strptr(Elf* elf, size_t section, size_t offset);

/** Ends the library's use of the file id.
 *
 * After that no further section can be loaded (42) and elf_update cannot write, but new sections can be made.
 *
 * @param elf  the descriptor
 * @param cmd  ELF_C_FDDONE; or ELF_C_FDREAD, which first loads every section from index 1 up, of an
 *             archive those of all members
 * @return 0, or -1
 * @codes 32 elf is NULL; 85 another command; with ELF_C_FDREAD: 42 loading has ended already; 83 the
 *        descriptor was opened with ELF_C_WRITE; 12 an archive without members; the codes of elf_getscn
 *        and elf_begin
 */
AMBIELF_API int elf_cntl(Elf* elf, Elf_Cmd cmd);

/** @}
 * @name Byte order
 * @{ */

/** Gives the size of records, the same in memory and in a file.
 *
 * @param type     an Elf_Type
 * @param count    how many
 * @param version  EV_CURRENT
 * @return bytes, the product taken in 32 bits; 0 on failure
 * @codes 33 another version; 67 a type above 20
 */
AMBIELF_API uint32_t elf32_fsize(uint32_t type, uint32_t count, uint32_t version);

/** Converts a block from memory order to the byte order `encoding`.
 *
 * If `encoding` is the host's, the bytes are copied. Otherwise they are converted as elf_update would convert
 * them: records by d_type, debug sections by the name of the section of `src`. The section's swap behaviour
 * does not matter. `dst` may share its buffer with `src` if both start at the same byte. Records of two types,
 * ELF_T_LNNO and ELF_T_SDB, are first converted in the source block and then copied.
 *
 * @param dst       receives bytes, d_size and d_type; its d_buf has room for its d_size. May be the
 *                  caller's own.
 * @param src       a block that this library handed out, of a section of an object
 * @param encoding  ELFDATA2LSB or ELFDATA2MSB
 * @return dst; or NULL, without a code if there was nothing to convert
 * @codes 32 dst or src is NULL; 72 bad magic number; 41 dst is smaller than src; 24 another encoding; 47
 *        src has no section; 53 no descriptor; 44 no ELF header; 32 d_size of src is above 0, and d_buf of dst
 *        or src is NULL; 67 no such type; 4, 8, 17, 31, 88, 89 the section name table could not be loaded, for
 *        which it needs memory and the file; 82 a type that can't be converted; 4 no memory to convert a debug
 *        section
 */
AMBIELF_API Elf_Data* elf32_xlatetof(Elf_Data* dst, const Elf_Data* src, unsigned encoding);

/** Converts a block from the byte order `encoding` to memory order. Everything else is as for elf32_xlatetof.
 *
 * @param dst       receives bytes, d_size and d_type; its d_buf has room for its d_size. May be the
 *                  caller's own.
 * @param src       a block that this library handed out, of a section of an object
 * @param encoding  ELFDATA2LSB or ELFDATA2MSB
 * @return dst; or NULL, without a code if there was nothing to convert
 * @codes as for elf32_xlatetof
 */
AMBIELF_API Elf_Data* elf32_xlatetom(Elf_Data* dst, const Elf_Data* src, unsigned encoding);

/** Sets the swap behaviour of a loaded section: the byte order that its blocks are in when they are written, or
 * put back into an image. The blocks do not change; a caller that changes the behaviour must convert them.
 *
 * @param section   the section
 * @param behavior  one of the ELF_SWAP values
 * @return 0, or -1
 * @codes 32 section is NULL; 98 another value, and the old one stays
 */
AMBIELF_API int elf_setswapbehavior(Elf_Scn* section, int behavior);

/** Installs the function that chooses the swap behaviour of each section when it is loaded. It is not asked for
 * the section-name table.
 *
 * @param elf         the descriptor
 * @param controller  the function; NULL for the default, which answers ELF_SWAP_TO_HOST
 * @return the function that was installed before, or NULL
 * @codes 32 elf is NULL
 */
AMBIELF_API Elf_ReadSwapController elf_setreadswapcontroller(Elf* elf, Elf_ReadSwapController controller);

/** @}
 * @name Creating
 * To make a new file, call, in this order: elf_begin with ELF_C_WRITE; elf32_newehdr, and the caller's
 * fields in the header; elf32_newphdr for each program header; elf_newscn for each section, with the caller's
 * fields in elf32_getshdr (sh_name above all: a section whose sh_name is 0 counts as null) and elf_newdata
 * for each block; e_shstrndx in the header; elf_update; elf_end.
 * @{ */

/** Makes the ELF header of a new file, or gives the existing one. A new header is all zeros except for
 * e_ident[EI_DATA], which is the host's byte order and can be changed. Making it sets the descriptor's dirty
 * flag.
 *
 * @param elf  a descriptor opened with ELF_C_WRITE or ELF_C_RDWR
 * @return the live header, or NULL
 * @codes 32 elf is NULL; 70 bad magic number; 38 an archive; 39 opened with ELF_C_READ; 4 no memory; 45 the
 *        header that is there does not have ELFCLASS32 in e_ident[EI_CLASS] (layout sets it)
 */
AMBIELF_API Elf32_Ehdr* elf32_newehdr(Elf* elf);

/** Adds a program header, all zeros, and counts it in e_phnum. This sets the descriptor's dirty flag.
 *
 * @param elf  the descriptor of an object
 * @return the live record, or NULL
 * @codes 32 elf is NULL; 70 bad magic number; 44 no ELF header; 4 no memory, or 65535 are there
 */
AMBIELF_API Elf32_Phdr* elf32_newphdr(Elf* elf);

/** Adds a section at the end, with a header of zeros, and counts it in e_shnum. The first call on an object
 * without sections also makes section 0. This sets the dirty flags of the section and of the descriptor.
 *
 * @param elf  the descriptor of a stand-alone object, not of an image
 * @return the section, or NULL
 * @codes 32 elf is NULL; 70 bad magic number; 20 an archive, a member or an image; 44 no ELF header; 4
 *        no memory; 34 no memory for the section, or 65535 are there
 */
AMBIELF_API Elf_Scn* elf_newscn(Elf* elf);

/** Adds a block at the end of a section. All its fields are 0 except d_version, which is EV_CURRENT. The caller
 * sets d_buf, d_type, d_size and d_align before the next elf_update, and with ELF_F_LAYOUT also d_off. This sets
 * the section's dirty flag, not the descriptor's.
 *
 * @param scn  a section of a stand-alone object, not of an image
 * @return the live block, or NULL
 * @codes 32 scn is NULL; 71 bad magic number; 20 of an archive, a member or an image; 4, 31 no memory for the
 *        section's list of blocks, for the block
 */
AMBIELF_API Elf_Data* elf_newdata(Elf_Scn* scn);

/** Sets or clears flags of a descriptor. elf_update writes only if the descriptor has ELF_F_DIRTY.
 *
 * @param elf    the descriptor
 * @param cmd    ELF_C_SET or ELF_C_CLR
 * @param flags  ELF_F_DIRTY, ELF_F_LAYOUT or both; other bits are ignored
 * @return flags, or 0
 * @codes 32 elf is NULL; 70 bad magic number; 66 neither flag; 84 another command
 */
AMBIELF_API unsigned elf_flagelf(Elf* elf, Elf_Cmd cmd, unsigned flags);

/** Sets or clears the dirty flag of an ELF header, which is the descriptor's.
 *
 * @param elf    the descriptor
 * @param cmd    ELF_C_SET or ELF_C_CLR
 * @param flags  ELF_F_DIRTY
 * @return flags, or 0
 * @codes 32 elf is NULL; 66 neither flag; 84 another command; 90 ELF_F_LAYOUT, after ELF_F_DIRTY was obeyed
 */
AMBIELF_API unsigned elf_flagehdr(Elf* elf, Elf_Cmd cmd, unsigned flags);

/** Sets or clears the dirty flag of a section. This flag does not make elf_update write.
 *
 * @param scn    the section
 * @param cmd    ELF_C_SET or ELF_C_CLR
 * @param flags  ELF_F_DIRTY
 * @return flags, or 0
 * @codes 32 scn is NULL; 66 neither flag; 84 another command; 91 ELF_F_LAYOUT, after ELF_F_DIRTY was obeyed
 */
AMBIELF_API unsigned elf_flagscn(Elf_Scn* scn, Elf_Cmd cmd, unsigned flags);

/** The same as elf_flagscn: a section and its header share one flag.
 *
 * @param scn    the section
 * @param cmd    ELF_C_SET or ELF_C_CLR
 * @param flags  ELF_F_DIRTY
 * @return flags, or 0
 * @codes as for elf_flagscn
 */
AMBIELF_API unsigned elf_flagshdr(Elf_Scn* scn, Elf_Cmd cmd, unsigned flags);

/** Sets or clears the dirty flag of a block. Layout copies it to the section.
 *
 * @param data   a block that this library handed out
 * @param cmd    ELF_C_SET or ELF_C_CLR
 * @param flags  ELF_F_DIRTY
 * @return flags, or 0
 * @codes 32 data is NULL; 66 neither flag; 84 another command; 92 ELF_F_LAYOUT, after ELF_F_DIRTY was obeyed
 */
AMBIELF_API unsigned elf_flagdata(Elf_Data* data, Elf_Cmd cmd, unsigned flags);

/** @}
 * @name Writing
 * @{ */

/** Lays an object out, and writes it.
 *
 * Layout sets the fields of the ELF header that describe the file: the magic, EI_CLASS, EI_VERSION, e_ehsize,
 * e_shnum, e_shentsize, e_shoff and, with program headers, e_phnum, e_phentsize, e_phoff; EI_DATA and
 * e_version if they are 0. The file then has: the ELF header; section contents in index order, each at its
 * alignment; the section header table, at a multiple of 4; the program header table. Layout chooses d_off,
 * sh_offset, sh_size and sh_addralign; SHT_NOBITS takes no space in the file. With ELF_F_LAYOUT the caller sets
 * those four fields, and sections and blocks must follow each other in index order, without overlap, from byte
 * 52.
 *
 * Writing sends that image to the file, from its current position on; the byte of elf_fill fills the gaps. It
 * happens only if the descriptor's ELF_F_DIRTY is set, and clears the flag. Headers and blocks are written in
 * the byte order of e_ident[EI_DATA]; memory does not change. Sections that were never loaded are copied from
 * the old file. A program header linked to a section by elf32_setphdrdata gets the section's sh_offset as
 * p_offset. To overwrite a file that was read, first set its position to 0. The file is never truncated.
 *
 * Old contents that the output would overwrite before they have been copied are kept in memory, and beyond 16
 * MiB in a temporary file: in the folder of the environment variable TMPDIR (TMP on Windows), without it in the
 * system's. Writing uses a duplicate of the file id and closes it. On POSIX systems this releases the record locks (fcntl) that the
 * process holds on the file.
 *
 * @param elf  the descriptor of a stand-alone object, not of an image
 * @param cmd  ELF_C_NULL to lay out only; ELF_C_WRITE to lay out and write; the other commands do nothing
 * @return the size of the file in bytes; 1 with ELF_C_WRITE if the descriptor was not dirty; 0 for a
 *         command that does nothing; -1 on failure. Output that was sent before a failure stays in the
 *         file.
 * @codes 32 elf is NULL; 70 bad magic number; 65 no such command; 61 ELF_C_WRITE, but opened with
 *        ELF_C_READ.
 *        Layout: 4, 31 no memory for a list of blocks, for a block; 9 an archive, a member or an image; 22 no
 *        ELF header; 24 e_ident[EI_DATA] is above 2; 33 e_version is above 1; 29 the file would have 2 GiB or
 *        more; 30 under ELF_F_LAYOUT, blocks reach past sh_size.
 *        Writing: 4, 31, 8, 88, 89, 17 the name table or .debug_abbrev, for a block that must be converted, can't
 *        be loaded; 88, 89, 17, 97, 93, 94, 95, 96, 50 the file id can't be used, or no temporary file be made;
 *        42 after elf_cntl; 43 a section or block starts before the end of the one before, or has no sh_name;
 *        37 a block without d_buf; 30 blocks of a section without sh_name reach past sh_size; 67, 82 a block
 *        can't be converted; 5, 8 the old file's size, an old section can't be read; 4 no memory; 79, 86, 64
 *        the file can't be written
 */
AMBIELF_API int32_t elf_update(Elf* elf, Elf_Cmd cmd);

/** @}
 * @name Header tables
 * @{ */

/** Gives a copy of the program header table, in the byte order of the file.
 *
 * @param elf  the descriptor of an object
 * @return e_phnum records, the caller's to give back with elf32_freeshdrtab, also after elf_end; NULL
 *         without a code if there are none, NULL with a code on failure
 * @codes 32 elf is NULL; 70 bad magic number; 44 no ELF header; 4 no memory
 */
AMBIELF_API Elf32_Phdr* elf32_getphdr(Elf* elf);

/** Gives a copy of the section header table, in the byte order of the file.
 *
 * @param elf  the descriptor of an object
 * @return e_shnum records, the caller's to give back with elf32_freeshdrtab, also after elf_end; NULL
 *         without a code if there are none, NULL with a code on failure
 * @codes 32 elf is NULL; 70 bad magic number; 44 no ELF header; 4 no memory
 */
AMBIELF_API Elf32_Shdr* elf32_getshdrtab(Elf* elf);

/** Releases a table of elf32_getphdr or elf32_getshdrtab.
 *
 * @param table  the table, or NULL
 */
AMBIELF_API void elf32_freeshdrtab(void* table);

/** Gives the contents that a program header describes: the first block of the first section whose sh_addr and
 * sh_offset are the program header's p_vaddr and p_offset.
 *
 * @param elf    the descriptor of an object
 * @param index  of the program header, 0 to e_phnum - 1
 * @return the live block, or NULL
 * @codes 32 elf is NULL; 99 no such index; 101 no section matches, or it has no block; 4, 31 no memory for the
 *        block; the codes of elf_getscn
 */
AMBIELF_API Elf_Data* elf32_getphdrdata(Elf* elf, unsigned index);

/** Links a program header to a section: whenever elf_update writes, p_offset becomes the section's sh_offset. A
 * section has one such link; a new one replaces it.
 *
 * @param phdr  a record, usually from elf32_newphdr; it must outlive the last elf_update
 * @param scn   the section
 * @return 0, or -1
 * @codes 32 phdr or scn is NULL
 */
AMBIELF_API int elf32_setphdrdata(Elf32_Phdr* phdr, Elf_Scn* scn);

/** @}
 * @name Archives
 * The usual walk: elf_begin without `ref`; then in a loop elf_begin with the archive as `ref` and the command
 * from elf_next, the work on the member, elf_next and elf_end on the member. Archives are only read.
 * @{ */

/** Gives the header of an archive member.
 *
 * @param elf  the descriptor of a member
 * @return the record, which must not be written; or NULL
 * @codes 69 elf is NULL, or no member; 70 bad magic number
 */
AMBIELF_API Elf_Arhdr* elf_getarhdr(Elf* elf);

/** Gives the symbol table of an archive, in the order of the file.
 *
 * @param elf    the descriptor of an archive
 * @param count  where the number of entries is stored, or 0 with code 60; may be NULL
 * @return the entries, which must not be written, not NULL for an empty table; or NULL
 * @codes 32 elf is NULL; 70 bad magic number; 60 no archive; 15 an archive without a symbol table
 */
AMBIELF_API Elf_Arsym* elf_getarsym(Elf* elf, size_t* count);

/** Moves the file position to the next member's header, or to the first member's if `elf` is the archive itself.
 *
 * @param elf  the descriptor of a member or of an archive
 * @return ELF_C_READ; or ELF_C_NULL at the end and on failure, without a code if elf is NULL or stands alone
 * @codes 70 bad magic number; 6, 60 a descriptor of no known kind; 59 no further member, and the
 *        position stays; 88, 89, 17 no seek
 */
AMBIELF_API Elf_Cmd elf_next(Elf* elf);

/** Moves the file position of an archive, so that the next elf_begin opens the member whose header starts there.
 *
 * @param elf     the descriptor of an archive
 * @param offset  bytes from the start of the archive file, as in Elf_Arsym::as_off; not checked
 * @return offset; 0 on failure, which only the code distinguishes from offset 0
 * @codes 32 elf is NULL; 70 bad magic number; 9 no archive; 81 no file; 88, 89, 17 no seek
 */
AMBIELF_API size_t elf_rand(Elf* elf, size_t offset);

/** @}
 * @name Files
 * The rest of the library does not need these. A path that cannot be opened as it is written is brought into
 * canonical form, by the rules for Windows paths on every host, and tried once more.
 * @{ */

/** Opens a file.
 *
 * @param path   the path
 * @param oflag  as for the system's open; on Windows with O_BINARY
 * @param pmode  the permissions of a new file
 * @return a file id, the caller's to close with elf_close; or -1
 * @codes 62 path is NULL; 102 the canonical path is too long; 103 it can't be formed; 97, 93, 94, 95, 96 the
 *        system said ENOENT, EACCES, EEXIST, EINVAL, EMFILE; 50 anything else
 */
AMBIELF_API int elf_open(const char* path, int oflag, int pmode);

/** Closes a file.
 *
 * @param fildes  the file id
 * @return 0, or -1
 * @codes 1 fildes is -1; 56 the system refused
 */
AMBIELF_API int elf_close(int fildes);

/** Maps a whole file into memory, private to the process. The view can be written to, so it can be passed to
 * elf_memory; the file never changes.
 *
 * @param path  the path
 * @param view  where the address of the first byte is stored, on success only; may be NULL
 * @return the size of the file in bytes, or -1; elf_mclose ends the view
 * @codes 62 path is NULL; 102 the canonical path is too long; 103, 50 it can't be formed; 58 the file
 *        can't be opened under it either; 51 the file can't be mapped: an empty one for example, or a
 *        directory, which Windows can't even open (58)
 */
AMBIELF_API int64_t elf_mopen(const char* path, void** view);

/** Unmaps a file. First end any descriptor on it.
 *
 * @param view  an address from elf_mopen
 * @return 0, or -1
 * @codes 52 not a live view
 */
AMBIELF_API int elf_mclose(void* view);

/** @} */

#if defined(__cplusplus)
}
#endif

#endif
