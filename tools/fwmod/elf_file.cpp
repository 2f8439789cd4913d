// Reads the headers of ELF files, which are the same for all machines up to the number of the
// machine. The rest counts only in files for this machine.
#include "elf_file.h"

#include <byteswap.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>

#include "command_line/descriptor.h"

namespace fwmod {

namespace {

class File {
 public:
  // Does not wait for the other end of a FIFO.
  explicit File(const std::string& path)
      : m_descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)),
        m_error(m_descriptor.number() < 0 || fstat(m_descriptor.number(), &m_status) != 0 ? errno
                                                                                          : 0) {}

  int error() const { return m_error; }
  bool is_directory() const { return S_ISDIR(m_status.st_mode); }
  bool is_regular() const { return S_ISREG(m_status.st_mode); }
  std::uint64_t size() const { return static_cast<std::uint64_t>(m_status.st_size); }

  // False when the file does not have these bytes.
  bool read(std::uint64_t offset, void* to, std::size_t bytes) const {
    return has(offset, bytes) && pread(m_descriptor.number(), to, bytes,
                                       static_cast<off_t>(offset)) == static_cast<ssize_t>(bytes);
  }
  // Empty when the file does not have all of them.
  template <typename Type>
  std::vector<Type> read_all(std::uint64_t offset, std::uint64_t count) const {
    std::vector<Type> all(has(offset, count * sizeof(Type)) ? count : 0);
    return read(offset, all.data(), all.size() * sizeof(Type)) ? all : std::vector<Type>();
  }

 private:
  tools::Descriptor m_descriptor;
  struct stat m_status = {};
  int m_error;

  bool has(std::uint64_t offset, std::uint64_t bytes) const {
    return offset <= size() && bytes <= size() - offset;
  }
};

constexpr unsigned char kNativeData =
    __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? ELFDATA2LSB : ELFDATA2MSB;

std::string machine_name(std::uint16_t machine) {
  static const std::map<std::uint16_t, const char*> kNames = {
      {EM_386, "x86"},         {EM_X86_64, "x86-64"},      {EM_ARM, "ARM"},
      {EM_AARCH64, "AArch64"}, {EM_MIPS, "MIPS"},          {EM_PPC, "PowerPC"},
      {EM_PPC64, "PowerPC64"}, {EM_S390, "S/390"},         {EM_RISCV, "RISC-V"},
      {EM_SPARCV9, "SPARC"},   {EM_LOONGARCH, "LoongArch"}};
  const auto found = kNames.find(machine);
  return found != kNames.end() ? found->second : "machine " + std::to_string(machine);
}

// "x86-64, 64-bit". Headers of all machines are the same up to there.
std::string architecture(const ElfW(Ehdr) & header) {
  const unsigned char data = header.e_ident[EI_DATA];
  const unsigned char size = header.e_ident[EI_CLASS];
  return machine_name(data == kNativeData ? header.e_machine : bswap_16(header.e_machine)) +
         (size == ELFCLASS32   ? ", 32-bit"
          : size == ELFCLASS64 ? ", 64-bit"
                               : ", of an unknown class") +
         (data == ELFDATA2MSB ? ", big-endian" : "");
}

std::string own_architecture() {
  ElfW(Ehdr) own = {};
  File("/proc/self/exe").read(0, &own, sizeof own);
  return architecture(own);
}

std::string kind_of_type(std::uint16_t type) {
  static const std::map<std::uint16_t, const char*> kKinds = {
      {ET_REL, ", but an object file: link it with -shared"},
      {ET_EXEC, ", but a program"},
      {ET_CORE, ", but a core dump"}};
  const auto found = kKinds.find(type);
  return "not a shared object" +
         (found != kKinds.end() ? found->second : ": ELF type " + std::to_string(type));
}

// The end of a part of the file; the largest number when it overflows.
std::uint64_t end_of(std::uint64_t offset, std::uint64_t bytes) {
  return bytes <= UINT64_MAX - offset ? offset + bytes : UINT64_MAX;
}

// The size that the headers require, as far as they can be read.
std::uint64_t needed_size(const File& file, const ElfW(Ehdr) & header) {
  std::uint64_t needed = end_of(header.e_phoff, std::uint64_t{header.e_phnum} * sizeof(ElfW(Phdr)));
  needed =
      std::max(needed, end_of(header.e_shoff, std::uint64_t{header.e_shnum} * sizeof(ElfW(Shdr))));
  for (const auto& segment : file.read_all<ElfW(Phdr)>(header.e_phoff, header.e_phnum)) {
    needed = std::max(needed, end_of(segment.p_offset, segment.p_filesz));
  }
  return needed;
}

std::string truncated(const File& file, std::uint64_t needed) {
  return "truncated: it has " + std::to_string(file.size()) + " bytes of " + std::to_string(needed);
}

std::string fault_of_header(const File& file) {
  ElfW(Ehdr) header = {};
  if (file.size() == 0) {
    return "not a shared object: the file is empty";
  }
  if (!file.read(0, &header, std::min<std::uint64_t>(sizeof header, file.size()))) {
    return "cannot be read";
  }
  if (std::memcmp(&header, ELFMAG, SELFMAG) != 0) {
    return std::memcmp(&header, "!<arch>", 7) == 0 ? "not a shared object, but a static library"
                                                   : "not a shared object: no ELF header";
  }
  if (file.size() < offsetof(ElfW(Ehdr), e_version)) {
    return truncated(file, sizeof header);
  }
  if (architecture(header) != own_architecture()) {
    return "wrong architecture: it is for " + architecture(header) + "; this system is " +
           own_architecture();
  }
  if (header.e_type != ET_DYN) {
    return kind_of_type(header.e_type);
  }
  const std::uint64_t needed =
      file.size() < sizeof header ? sizeof header : needed_size(file, header);
  return needed > file.size() ? truncated(file, needed) : "";
}

bool is_exported_function(const ElfW(Sym) & symbol) {
  // The accessors of both classes are the same.
  const unsigned int type = ELF64_ST_TYPE(symbol.st_info);
  const unsigned int binding = ELF64_ST_BIND(symbol.st_info);
  return type == STT_FUNC && binding != STB_LOCAL && symbol.st_shndx != SHN_UNDEF;
}

void add_functions(const File& file, const ElfW(Shdr) & table, const ElfW(Shdr) & texts,
                   std::vector<std::string>& names) {
  std::vector<char> text = file.read_all<char>(texts.sh_offset, texts.sh_size);
  text.push_back('\0');
  const std::uint64_t count = table.sh_size / sizeof(ElfW(Sym));
  for (const auto& symbol : file.read_all<ElfW(Sym)>(table.sh_offset, count)) {
    if (is_exported_function(symbol) && symbol.st_name < text.size()) {
      names.emplace_back(&text[symbol.st_name]);
    }
  }
}

}  // namespace

std::string fault_of_file(const std::string& path) {
  const File file(path);
  if (file.error() == ENOENT) {
    return "no such file";
  }
  if (file.error() != 0) {
    return std::string("cannot be read: ") + std::strerror(file.error());
  }
  if (file.is_directory()) {
    return "not a file, but a directory";
  }
  return file.is_regular() ? fault_of_header(file) : "not a regular file";
}

std::vector<std::string> exported_functions(const std::string& path) {
  const File file(path);
  ElfW(Ehdr) header = {};
  std::vector<std::string> names;
  if (file.error() != 0 || !file.read(0, &header, sizeof header)) {
    return names;
  }
  const auto sections = file.read_all<ElfW(Shdr)>(header.e_shoff, header.e_shnum);
  for (const ElfW(Shdr) & section : sections) {
    if (section.sh_type == SHT_DYNSYM && section.sh_link < sections.size()) {
      add_functions(file, section, sections[section.sh_link], names);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace fwmod
