// What is wrong with a file that is no library for this machine.
#include <elf.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/harness/temp_dir.h"
#include "tests/tools/fwmod/fwmod_program.h"

using fwbase::test::read_file;
using fwbase::test::TempDir;
using fwbase::test::write_file;

namespace fwmod::test {
namespace {

#if defined(__x86_64__)
constexpr char kThisSystem[] = "x86-64, 64-bit";
constexpr std::uint16_t kOtherMachine = EM_AARCH64;
constexpr char kOtherSystem[] = "AArch64, 64-bit";
constexpr char kThisSystemIn32Bits[] = "x86-64, 32-bit";
#elif defined(__aarch64__)
constexpr char kThisSystem[] = "AArch64, 64-bit";
constexpr std::uint16_t kOtherMachine = EM_X86_64;
constexpr char kOtherSystem[] = "x86-64, 64-bit";
constexpr char kThisSystemIn32Bits[] = "AArch64, 32-bit";
#endif

// Checks a copy of the sound library with other bytes in it.
void expect_patched(std::size_t offset, const std::string& bytes, const std::string& text) {
  const TempDir directory;
  const std::string path = directory.path("patched.so");
  write_file(path, read_file(fault("sound_module")).replace(offset, bytes.size(), bytes));
  expect_check(1, path, text);
}

void expect_content(const std::string& content, const std::string& text) {
  const TempDir directory;
  write_file(directory.path("file.so"), content);
  expect_check(1, directory.path("file.so"), text);
}

std::string bytes_of(std::uint16_t number) {
  return {reinterpret_cast<const char*>(&number), sizeof number};
}

std::string wrong_architecture(const std::string& other) {
  return "wrong architecture: it is for " + other + "; this system is " + kThisSystem;
}

}  // namespace

TEST(FwmodFile, IsMissing) {
  const TempDir directory;
  expect_check(1, directory.path("missing.so"), "no such file");
  expect_check(1, directory.path("missing"), "no such file");
  expect_check(1, directory.path("no/directory.so"), "no such file");
}

TEST(FwmodFile, IsADirectory) {
  const TempDir directory;
  expect_check(1, directory.path(), "not a file, but a directory");
}

TEST(FwmodFile, IsNotARegularFile) {
  const TempDir directory;
  ASSERT_EQ(mkfifo(directory.path("fifo.so").c_str(), 0600), 0);
  expect_check(1, directory.path("fifo.so"), "not a regular file");
}

TEST(FwmodFile, IsNotElf) {
  expect_content("", "not a shared object: the file is empty");
  expect_content("a text\n", "not a shared object: no ELF header");
  expect_content(
      "\x7f"
      "EL",
      "not a shared object: no ELF header");
  expect_content("!<arch>\nlibrary.o/", "not a shared object, but a static library");
}

TEST(FwmodFile, IsTruncated) {
  const std::string whole = read_file(fault("sound_module"));
  const std::string of_whole = " bytes of " + std::to_string(whole.size());
  expect_content(whole.substr(0, 10), "truncated: it has 10 bytes of 64");
  expect_content(whole.substr(0, 50), "truncated: it has 50 bytes of 64");
  for (const std::size_t size : {std::size_t{64}, std::size_t{5000}, whole.size() - 1}) {
    expect_content(whole.substr(0, size), "truncated: it has " + std::to_string(size) + of_whole);
  }
}

TEST(FwmodFile, IsForAnotherMachine) {
  expect_patched(offsetof(Elf64_Ehdr, e_machine), bytes_of(kOtherMachine),
                 wrong_architecture(kOtherSystem));
  expect_patched(offsetof(Elf64_Ehdr, e_machine), bytes_of(EM_RISCV),
                 wrong_architecture("RISC-V, 64-bit"));
  expect_patched(offsetof(Elf64_Ehdr, e_machine), bytes_of(9999),
                 wrong_architecture("machine 9999, 64-bit"));
}

TEST(FwmodFile, IsForAnotherWordSize) {
  expect_patched(EI_CLASS, std::string(1, ELFCLASS32), wrong_architecture(kThisSystemIn32Bits));
}

TEST(FwmodFile, IsForAnotherByteOrder) {
  const std::uint16_t swapped = EM_S390 << 8;
  std::string begin = read_file(fault("sound_module")).substr(0, offsetof(Elf64_Ehdr, e_machine));
  begin[EI_DATA] = ELFDATA2MSB;
  expect_patched(0, begin + bytes_of(swapped), wrong_architecture("S/390, 64-bit, big-endian"));
}

TEST(FwmodFile, IsAnotherKindOfElfFile) {
  constexpr std::size_t kType = offsetof(Elf64_Ehdr, e_type);
  expect_patched(kType, bytes_of(ET_REL),
                 "not a shared object, but an object file: link it with -shared");
  expect_patched(kType, bytes_of(ET_EXEC), "not a shared object, but a program");
  expect_patched(kType, bytes_of(ET_CORE), "not a shared object, but a core dump");
  expect_patched(kType, bytes_of(77), "not a shared object: ELF type 77");
}

TEST(FwmodFile, IsFoundAsTheModuleManagerDoes) {
  const TempDir directory;
  const std::string content = read_file(fault("sound_module"));
  const std::string sound =
      ": ok: it loads with all symbols bound, exports create_module(), and unloads\n";
  for (const char* const name : {"counter", "counter.so", "libcounter.so"}) {
    write_file(directory.path(name), content);
    EXPECT_EQ(run_fwmod({directory.path("counter")}).out, directory.path(name) + sound);
  }
}

}  // namespace fwmod::test
