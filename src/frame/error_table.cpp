// The one table of failures. Its numbers and texts are part of the interface and never change, not even where a text
// names another system's calls. Nothing reports codes 14, 18, 23, 40, 49 and 63.
#include <iterator>

#include "frame/error.h"

namespace ambielf {
namespace {

// Texts are padded with zero bytes; the longest has 78 characters.
struct Row {
  Error code;
  char text[80];
};

constexpr Row error_table[] = {
    {ERR_NONE, "No error has been detected."},
    {ERR_FILE_ID, "Invalid File id parameter \"-1\"."},
    {ERR_AR_FILE_ID, "Invalid File id \"-1\"."},
    {ERR_IMAGE, "Error occurs while mapping file to memory."},
    {ERR_MEMORY, "Attempt to allocate memory failed"},
    {ERR_STAT, "Error occurs while doing fstat call."},
    {ERR_FILE_TYPE, "Don't recognize the file type - not Elf object or archive."},
    {ERR_IMAGE_BASE, "Pointer to the beginning of mapped file is corrupted."},
    {ERR_READ, "Error from _read(). bad handle, not open for reading, or locked."},
    {ERR_WRONG_FILE_TYPE, "Incorrect file type is found."},
    {ERR_AR_SYMBOL_TABLE, "Error occurs while initializing symbol table."},
    {ERR_AR_MEMBER, "Error occurs while initializing archive member."},
    {ERR_AR_EMPTY, "Can't find any archive member in archive file."},
    {ERR_AR_NO_MEMBER, "Can't find archive member specified."},
    {ERR_INTERNAL, "Library internal error."},
    {ERR_AR_NO_SYMBOL_TABLE, "Can't find symbol table."},
    {ERR_END_OF_FILE, "Unexpected end-of-file while reading: _read returned 0."},
    {ERR_SEEK, "Unspecified Error from _lseek."},
    {ERR_AR_MEMBER_SIZE, "Size of an archive member is negative number."},
    {ERR_MEMCPY, "memcpy did not return pointer to destination."},
    {ERR_AR_WRITE, "Write to archive is not allowed."},
    {ERR_NO_SECTION, "Section with index specified does not exist."},
    {ERR_NO_EHDR, "Can't find elf header in the file."},
    {ERR_E_TYPE, "Undefined e_type value in elf header."},
    {ERR_ENCODING, "Undefined e_encoding in elf header."},
    {ERR_SECTION_INDEX, "Invalid section index."},
    {ERR_SECTION_NAME, "Empty section name."},
    {ERR_SECTION_HEADER, "Trying to get section header failed."},
    {ERR_SECTION_TYPE, "Invalid section type value."},
    {ERR_UPDATE, "Error occurs while updating elf file."},
    {ERR_SECTION_SIZE, "Section size specified is too small to hold data."},
    {ERR_NEW_DATA, "Unable to create a new data descriptor."},
    {ERR_NULL_PARAMETER, "Invalid NULL parameter."},
    {ERR_VERSION_NUMBER, "Invalid version number."},
    {ERR_NEW_SECTION, "Unable to create a new Elf section."},
    {ERR_WRITE_TO_BUFFER, "Error occurs while writing elf file to buffer."},
    {ERR_EMPTY_SECTION, "\"get_data\" called for empty section"},
    {ERR_NO_DATA, "No data at requested offset in the section."},
    {ERR_DESCRIPTOR_TYPE, "Incorrect type of elf descriptor."},
    {ERR_ACCESS, "Invalid value for access permission."},
    {ERR_WRITE_MAPPED, "Write back to mapped file is not allowed."},
    {ERR_BUFFER_SIZES, "Destination and source buffers not of equal size"},
    {ERR_FDDONE_FDREAD, "Error occurs while doing FDDONE or FDREAD operation."},
    {ERR_ALIGNMENT, "Error occurs while doing alignment of data."},
    {ERR_NULL_EHDR, "Missing/NULL elf header."},
    {ERR_CLASS, "Undefined value for EI_CLASS."},
    {ERR_AR_NAME, "Archive name in the file is corrupted."},
    {ERR_NULL_SECTION, "Missing/NULL section descriptor."},
    {ERR_NEW_DESCRIPTOR, "Unable to create an elf descriptor."},
    {ERR_DESCRIPTOR_KIND, "Can't recognize the type of the elf descriptor."},
    {ERR_OPEN, "Cannot open a file: error code returned from open()"},
    {ERR_MAP, "Error occurs while mapping a file into memory."},
    {ERR_UNMAP, "Error occurs while unmapping a file."},
    {ERR_NULL_DESCRIPTOR, "Missing/NULL elf descriptor."},
    {ERR_ELF_VERSION, "Incorrect ELF version information."},
    {ERR_NEW_FILE_DESC, "Unable to create a file descriptor."},
    {ERR_CLOSE_BAD_ID, "Error EBADF \"Bad file number\" from _close(fileid)."},
    {ERR_NEW_ARCHIVE, "Unable to create an archive descriptor."},
    {ERR_OPEN_VIEW, "Unable to open file: CreatFile returned INVALID_HANDLE_VALUE"},
    {ERR_AR_GET_MEMBER, "Can't get archive member specified."},
    {ERR_AR_DESCRIPTOR, "Can't get archive descriptor specified."},
    {ERR_WRITE_DENIED, "Write access denied for file opened for reading."},
    {ERR_NULL_PATH, "Invalid NULL as filename parameter"},
    {ERR_UNKNOWN_DESCRIPTOR, "Can't recognize the type of the elf descriptor."},
    {ERR_WRITE, "Error from _write()"},
    {ERR_COMMAND, "Undefined ELF_C_ command."},
    {ERR_FLAGS, "Invalid flags parameter."},
    {ERR_DATA_TYPE, "Invalid data type."},
    {ERR_STRING_TABLE, "Invalid section type."},
    {ERR_AR_HEADER, "Can't find archive header."},
    {ERR_ELF_MAGIC, "Invalid elf descriptor pointer: bad magic number."},
    {ERR_SCN_MAGIC, "Invalid section descriptor pointer: bad magic number"},
    {ERR_DATA_MAGIC, "Invalid data descriptor pointer: bad magic number."},
    {ERR_NULL_BLOCK, "NULL pointer to memory passed to GarbageGollector."},
    {ERR_KEEP_BLOCK, "Error occurs while doing garbage collecting."},
    {ERR_UNASSIGNED_75, "Error number not assigned."},
    {ERR_UNASSIGNED_76, "Error number not assigned."},
    {ERR_UNASSIGNED_77, "Error number not assigned."},
    {ERR_UNASSIGNED_78, "Error number not assigned."},
    {ERR_NO_SPACE, "Error ENOSPC \"no space left on device\" while writing to file."},
    {ERR_NO_VERSION, "No ELF version set."},
    {ERR_NULL_FILE_DESC, "Missing/NULL file descriptor."},
    {ERR_NO_SWAP_RULE, "Do not know how to byteswap the type."},
    {ERR_READ_DENIED, "Read access denied for file opened for writing."},
    {ERR_FLAG_COMMAND, "Invalid command for flag operation; only set or clear allowed."},
    {ERR_CNTL_COMMAND, "Invalid command; elf_cntl() supports only FDREAD and FDDONE."},
    {ERR_WRITE_BAD_ID, "Error EBADF \"Bad file number\" from _write(): bad id or not open for write"},
    {ERR_RDWR_ACCESS, "Error in elf_begin(): RDWR command requires file opened for read/write access."},
    {ERR_SEEK_BAD_ID, "Error EBADF \"Bad file number\" from _lseek()."},
    {ERR_SEEK_INVALID, "Error EINVAL \"Invalid argument\" from _lseek()."},
    {ERR_EHDR_LAYOUT, "Cannot set LAYOUT flag with respect to Elf_Hdr"},
    {ERR_SCN_LAYOUT, "No LAYOUT flag in Elf_Scn class."},
    {ERR_DATA_LAYOUT, "No LAYOUT flag in DataDesc class."},
    {ERR_OPEN_DENIED, "Error EACCES \"Permission denied\" from open()."},
    {ERR_OPEN_EXISTS, "Error EEXIST \"File exists\" from open()."},
    {ERR_OPEN_INVALID, "Error EINVAL \"Invalid argument\" from open()."},
    {ERR_OPEN_TOO_MANY, "Error EMFILE \"Too many open files\" from open()."},
    {ERR_OPEN_NOT_FOUND, "Error ENOENT \"No such file or directory\" from open()."},
    {ERR_SWAP_BEHAVIOR, "Invalid value for swapping behavior identifier."},
    {ERR_PHDR_INDEX, "Program header index out of range."},
    {ERR_PHDR_ENTRY, "Unable to locate program header entry for this index"},
    {ERR_NO_PHDR_DATA, "No data located for program header entry"},
    {ERR_PATH_LENGTH, "File path is too long"},
    {ERR_PATH_FORM, "Unexpected error converting file path to canonical form"},
};

constexpr bool each_row_stands_at_its_code() {
  for (int code = 0; code < ERR_NUM; ++code) {
    if (error_table[code].code != code) return false;
  }
  return true;
}
static_assert(std::size(error_table) == ERR_NUM && each_row_stands_at_its_code());

}  // namespace

const char* error_text(int code) { return error_table[code].text; }

}  // namespace ambielf
