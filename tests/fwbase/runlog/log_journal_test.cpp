// Journals: made, filled, left by processes that were killed, and adopted by the next file().
#include "fwbase/runlog/log_journal.h"

#include <fcntl.h>
#include <fwbase/ifwbase.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "fwbase/runlog/gbk.h"
#include "fwbase/runlog/log_process.h"
#include "fwbase/runlog/packed_record.h"
#include "tests/harness/failing_new.h"
#include "tests/harness/file_size_limit.h"
#include "tests/harness/temp_dir.h"

using namespace fwbase;
using namespace fwbase::test;
using std::filesystem::exists;

namespace {

constexpr char kClosing[] = "[DEBUG]: \r\n >\nlog system release\n\n";

std::string text_of(const std::string& message) { return "[ERROR]: \r\n >" + message + "\n"; }

class JournalTest : public testing::Test {
 protected:
  ~JournalTest() override { log.release(); }

  void start() {
    LogOptions options;
    options.journal = true;
    ASSERT_EQ(log.options(options), ec::LOG_OK);
    ASSERT_EQ(log.init(), ec::LOG_OK);
    ASSERT_EQ(log.file(path.c_str()), ec::LOG_OK);
  }
  void write(const std::string& message) { log.write(IRunLog::ERROR, message.c_str(), nullptr); }
  std::string written() const { return read_file(path); }

  // Whether one record says that, once; takes it away from the text.
  static bool take_report(std::string& text, const std::string& message) {
    const std::size_t at = text.find("\r\n >" + message);
    const std::size_t begin = at != text.npos ? text.rfind("[ERROR]:", at) : text.npos;
    if (begin == text.npos) {
      return false;
    }
    text.erase(begin, text.find('\n', at + 2) + 1 - begin);
    return text.find(message) == text.npos;
  }

  // Runs in a child process, which is killed at its end. False when it ended otherwise.
  template <typename Work>
  static bool in_killed_process(Work work) {
    const pid_t child = ::fork();
    if (child == 0) {
      work();
      ::kill(::getpid(), SIGKILL);
    }
    int status = 0;
    return ::waitpid(child, &status, 0) == child && WIFSIGNALED(status) &&
           WTERMSIG(status) == SIGKILL;
  }

  // What a killed process leaves: records in the journal, and a note if there is one.
  void leave_journal(const std::vector<std::string>& messages, const JournalNote* note = nullptr) {
    const auto left = LogJournal::make(journal, 65536);
    ASSERT_TRUE(left);
    for (const std::string& message : messages) {
      std::vector<char> packed;
      pack_record({IRunLog::ERROR, message.c_str(), "", {}}, packed);
      left->put(packed.data(), packed.size());
    }
    if (note != nullptr) {
      left->note(*note);
    }
  }
  // The note of a batch of such messages, at that place in the log.
  JournalNote note_of(const std::vector<std::string>& messages, std::uint64_t offset) const {
    struct stat status;
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    std::string text;
    JournalNote note;
    for (const std::string& message : messages) {
      text += text_of(message);
      note.to += message.size() + 22;
    }
    note.device = status.st_dev;
    note.inode = status.st_ino;
    note.offset = offset;
    note.length = text.size();
    note.hash = journal_hash(text);
    return note;
  }
  void adopt() { ASSERT_EQ(log.file(path.c_str()), ec::LOG_OK); }

  TempDir dir;
  const std::string path = std::filesystem::canonical(dir.path()).string() + "/log";
  const std::string journal = path + ".journal";
  CLogProcess log;
};

}  // namespace

// --- The life of a journal ---

TEST_F(JournalTest, ThereIsOneWhileTheLogIsOpenAndQueued) {
  start();
  EXPECT_FALSE(exists(journal));
  log.asynch(true);
  EXPECT_TRUE(exists(journal));
  struct stat status;
  ASSERT_EQ(::stat(journal.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
  EXPECT_GE(status.st_blocks * 512, 2 * 16384 + 65536);  // its room is reserved
  write("1");
  log.asynch(false);
  EXPECT_FALSE(exists(journal));
  EXPECT_EQ(written(), text_of("1"));
  log.asynch(true);
  EXPECT_TRUE(exists(journal));
  write("2");
  log.release();
  EXPECT_FALSE(exists(journal));
  EXPECT_EQ(written(), text_of("1") + text_of("2") + kClosing);
}

TEST_F(JournalTest, ThereIsNoneWithoutAWriter) {
  LogOptions options;
  options.journal = true;
  ASSERT_EQ(log.options(options), ec::LOG_OK);
  adopt();
  log.asynch(true);
  EXPECT_FALSE(exists(journal));
}

TEST_F(JournalTest, ThereIsNoneWithoutTheOption) {
  ASSERT_EQ(log.init(), ec::LOG_OK);
  adopt();
  log.asynch(true);
  EXPECT_FALSE(exists(journal));
}

TEST_F(JournalTest, ItComesWithTheFileWhenQueuedModeIsOnBefore) {
  LogOptions options;
  options.journal = true;
  ASSERT_EQ(log.options(options), ec::LOG_OK);
  ASSERT_EQ(log.init(), ec::LOG_OK);
  log.asynch(true);
  EXPECT_FALSE(exists(journal));
  adopt();
  EXPECT_TRUE(exists(journal));
}

TEST_F(JournalTest, AnotherFileHasAnotherJournal) {
  start();
  log.asynch(true);
  write("1");
  const std::string other = path + ".other";
  EXPECT_EQ(log.file((dir.path() + "/none/log").c_str()), ec::LOG_OPEN_FAILED);
  EXPECT_TRUE(exists(journal));
  ASSERT_EQ(log.file(other.c_str()), ec::LOG_OK);
  EXPECT_FALSE(exists(journal));
  EXPECT_TRUE(exists(other + ".journal"));
  write("2");
  log.finish();
  EXPECT_FALSE(exists(other + ".journal"));
  EXPECT_EQ(written(), text_of("1"));
  EXPECT_EQ(read_file(other), text_of("2"));
}

TEST_F(JournalTest, InitEndsIt) {
  start();
  log.asynch(true);
  write("1");
  ASSERT_EQ(log.init(), ec::LOG_OK);
  EXPECT_FALSE(exists(journal));
  EXPECT_EQ(written(), text_of("1"));
}

TEST_F(JournalTest, RecordsOfManyThreadsGoThroughItMoreThanOnceAround) {
  start();
  log.asynch(true);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 2000; ++i) {
        write(std::to_string(t) + std::string(100, 'x'));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  log.asynch(false);
  EXPECT_EQ(written().size(), 8000 * text_of(std::string(101, 'x')).size());
}

TEST_F(JournalTest, ItGrowsForARecordThatIsLongerThanItself) {
  start();
  log.asynch(true);
  const std::string large(1000000, 'x');
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&] {
      write("before");
      write(large);
      write("behind");
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_GT(std::filesystem::file_size(journal), large.size());
  log.asynch(false);
  EXPECT_EQ(written().size(),
            3 * (text_of("before").size() + text_of(large).size() + text_of("behind").size()));
}

TEST_F(JournalTest, WithoutRoomForItARecordIsDroppedAndCounted) {
  start();
  log.asynch(true);
  {
    const FileSizeLimit limit(300000);
    write(std::string(1000000, 'x'));
    write("fits");
    log.asynch(false);
  }
  std::string text = written();
  EXPECT_TRUE(take_report(text, GBK("磁盘空间不足,.journal文件容不下过长的记录,丢弃了1条记录")));
  EXPECT_EQ(text, text_of("fits"));
}

TEST_F(JournalTest, WhereItCannotBeMadeTheLogSaysSoAndGoesOn) {
  start();
  {
    const FileSizeLimit limit(50000);
    log.asynch(true);
  }
  EXPECT_FALSE(exists(journal));
  write("1");
  log.asynch(false);
  std::string text = written();
  EXPECT_TRUE(
      take_report(text, GBK("无法建立.journal文件,队列没有.journal文件: error=File too large")));
  EXPECT_EQ(text, text_of("1"));
}

TEST_F(JournalTest, ALogThatIsNoRegularFileHasNone) {
  LogOptions options;
  options.journal = true;
  ASSERT_EQ(log.options(options), ec::LOG_OK);
  ASSERT_EQ(log.init(), ec::LOG_OK);
  ASSERT_EQ(log.file("/dev/null"), ec::LOG_OK);
  log.asynch(true);
  write("1");
  EXPECT_FALSE(exists("/dev/null.journal"));
}

// --- What a killed process leaves ---

TEST_F(JournalTest, RecordsOfAKilledProcessAreWrittenByTheNextFileOnceAndFirst) {
  leave_journal({"1", "2"});
  adopt();
  EXPECT_FALSE(exists(journal));
  write("new");
  adopt();
  EXPECT_EQ(written(), text_of("1") + text_of("2") + text_of("new"));
}

TEST_F(JournalTest, WhatAKilledProcessHasQueuedIsThereHoweverFarItsWriterCame) {
  ASSERT_TRUE(in_killed_process([&] {
    LogOptions options;
    options.journal = true;
    CLogProcess victim;
    if (ec::succeeded(victim.options(options)) && ec::succeeded(victim.init()) &&
        ec::succeeded(victim.file(path.c_str()))) {
      victim.asynch(true);
      for (int i = 0; i < 5000; ++i) {
        victim.write(IRunLog::ERROR, std::to_string(i).c_str(), nullptr);
      }
      ::kill(::getpid(), SIGKILL);  // while the writer still has its log
    }
  }));
  adopt();
  std::string expected;
  for (int i = 0; i < 5000; ++i) {
    expected += text_of(std::to_string(i));
  }
  EXPECT_EQ(written(), expected);
}

TEST_F(JournalTest, AnEmptyOneAndAnUnfinishedOneAreRemoved) {
  leave_journal({});
  adopt();
  EXPECT_FALSE(exists(journal));
  write_file(journal, "");
  ::chmod(journal.c_str(), 0600);
  adopt();
  EXPECT_FALSE(exists(journal));
  EXPECT_EQ(written(), "");
}

TEST_F(JournalTest, ABatchThatWasNotBegunIsWritten) {
  write_file(path, "old\n");
  const JournalNote note = note_of({"a", "b"}, 4);
  leave_journal({"a", "b", "c"}, &note);
  adopt();
  EXPECT_EQ(written(), "old\n" + text_of("a") + text_of("b") + text_of("c"));
}

TEST_F(JournalTest, ABatchThatIsThereIsNotWrittenAgain) {
  write_file(path, "old\n" + text_of("a") + text_of("b"));
  const JournalNote note = note_of({"a", "b"}, 4);
  leave_journal({"a", "b", "c"}, &note);
  adopt();
  EXPECT_EQ(written(), "old\n" + text_of("a") + text_of("b") + text_of("c"));
}

TEST_F(JournalTest, ABatchThatWasCutOffIsCompleted) {
  const std::string whole = "old\n" + text_of("a") + text_of("b");
  for (std::size_t size = 5; size < whole.size(); ++size) {
    write_file(path, whole.substr(0, size));
    const JournalNote note = note_of({"a", "b"}, 4);
    leave_journal({"a", "b", "c"}, &note);
    adopt();
    ASSERT_EQ(written(), whole + text_of("c"));
  }
}

TEST_F(JournalTest, AmongTheRecordsOfOthersThoseThatAreMissingAreWritten) {
  write_file(path, text_of("b") + text_of("other"));
  const JournalNote note = note_of({"a", "b"}, 0);
  leave_journal({"a", "b", "c"}, &note);
  adopt();
  EXPECT_EQ(written(), text_of("b") + text_of("other") + text_of("a") + text_of("c"));
}

// Another process writes to the file as well, and has rotated it since.
TEST_F(JournalTest, ARecoveryThatComesToAnEndAmongMissingRecordsDoublesNone) {
  const std::string others = text_of("b") + text_of("other");
  write_file(path, others);
  const JournalNote note = note_of({"a", "b", "c"}, 0);
  std::filesystem::rename(path, path + ".bak.0");
  const std::string old = std::string(20000, '-') + "\n";
  write_file(path, old);
  leave_journal({"a", "b", "c", "d"}, &note);
  write_file(journal + ".new", "of a process that was killed");
  {
    const FileSizeLimit limit(old.size() + text_of("a").size() + 1);
    adopt();
    EXPECT_EQ(written(), old + text_of("a"));
    EXPECT_TRUE(exists(journal));
  }
  adopt();
  EXPECT_EQ(written(), old + text_of("a") + text_of("c") + text_of("d"));
  EXPECT_EQ(read_file(path + ".bak.0"), others);
  EXPECT_FALSE(exists(journal));
  EXPECT_FALSE(exists(journal + ".new"));
}

TEST_F(JournalTest, ABatchOfAFileThatIsABackupNowIsFoundAndCompletedThere) {
  for (const bool whole : {true, false}) {
    const std::string text = text_of("a") + text_of("b");
    write_file(path, whole ? text : text.substr(0, 20));
    const JournalNote note = note_of({"a", "b"}, 0);
    std::filesystem::rename(path, path + ".bak.2");
    leave_journal({"a", "b", "c"}, &note);
    adopt();
    EXPECT_EQ(read_file(path + ".bak.2"), text);
    EXPECT_EQ(written(), text_of("c"));
    write_file(path, "");
  }
}

TEST_F(JournalTest, ABatchIsFoundInABackupThatIsNotKeptAnyMore) {
  LogOptions options;
  options.backups = 0;
  ASSERT_EQ(log.options(options), ec::LOG_OK);
  write_file(path, text_of("a"));
  const JournalNote note = note_of({"a"}, 0);
  std::filesystem::rename(path, path + ".bak.7");
  leave_journal({"a", "b"}, &note);
  adopt();
  EXPECT_EQ(read_file(path + ".bak.7"), text_of("a"));
  EXPECT_EQ(written(), text_of("b"));
}

TEST_F(JournalTest, ABatchOfAFileThatIsGoneIsWritten) {
  write_file(path, "");
  const JournalNote note = note_of({"a"}, 0);
  write_file(path + ".new", "");
  std::filesystem::rename(path + ".new", path);
  leave_journal({"a", "b"}, &note);
  adopt();
  EXPECT_EQ(written(), text_of("a") + text_of("b"));
}

TEST_F(JournalTest, WhatIsLeftIsRotatedLikeAllElse) {
  LogOptions options;
  options.file_bytes = 3 * text_of("a").size();
  ASSERT_EQ(log.options(options), ec::LOG_OK);
  leave_journal({"a", "b", "c", "d"});
  adopt();
  EXPECT_EQ(read_file(path + ".bak.0"), text_of("a") + text_of("b") + text_of("c"));
  EXPECT_EQ(written(), text_of("d"));
}

TEST_F(JournalTest, WithoutRoomInTheLogItIsKeptForTheNextFile) {
  leave_journal({"a", "b"});
  write_file(path, "");
  {
    const FileSizeLimit limit(text_of("a").size() + 1);
    adopt();
  }
  EXPECT_TRUE(exists(journal));
  adopt();
  EXPECT_FALSE(exists(journal));
  EXPECT_EQ(written(), text_of("a") + text_of("b"));
}

TEST_F(JournalTest, WithoutMemoryNothingIsLostOrDoubled) {
  const auto expect_whole = [&](const std::vector<std::string>& messages, const JournalNote* note,
                                const std::string& expected) {
    bool has_failed = true;
    for (int n = 1; has_failed && !HasFailure(); ++n) {
      leave_journal(messages, note);
      write_file(path, "");
      {
        const FailingNew memory(n, FailingNew::ANY);
        EXPECT_TRUE(ec::succeeded(log.file(path.c_str())) || memory.has_failed());
        has_failed = memory.has_failed();
      }
      adopt();
      std::string text = written();
      take_report(text,
                  GBK(".journal文件中的记录未能全部写入,保留该文件: error=Cannot allocate memory"));
      EXPECT_EQ(text, expected) << n;
      EXPECT_FALSE(exists(journal));
    }
  };
  expect_whole({"a", "b"}, nullptr, text_of("a") + text_of("b"));
  write_file(path, text_of("b") + text_of("other"));
  const JournalNote note = note_of({"a", "b", "c"}, 0);
  std::filesystem::rename(path, path + ".bak.5");
  expect_whole({"a", "b", "c", "d"}, &note, text_of("a") + text_of("c") + text_of("d"));
}

// --- What is not trusted ---

TEST_F(JournalTest, ADamagedOneIsSetAsideAndOneRecordSaysSo) {
  leave_journal({"a"});
  std::string bytes = read_file(journal);
  bytes[kJournalHeaderSize] = '\7';
  for (std::size_t i = 4; i < 40; ++i) {
    bytes[kJournalHeaderSize + i] = 'x';
  }
  write_file(journal, bytes);
  adopt();
  EXPECT_FALSE(exists(journal));
  EXPECT_EQ(read_file(journal + ".damaged"), bytes);
  std::string text = written();
  EXPECT_TRUE(take_report(text, GBK(".journal文件已损坏,改名为.journal.damaged,其中的记录未写入")));
  EXPECT_EQ(text, "");
}

TEST_F(JournalTest, WhatIsNoFileOfThisUserAloneIsLeftAloneAndOneRecordSaysSo) {
  leave_journal({"a"});
  const std::string bytes = read_file(journal);
  const auto expect_refused = [&](const char* what) {
    write_file(path, "");
    adopt();
    std::string text = written();
    EXPECT_TRUE(take_report(text, GBK(".journal不是本用户独有的普通文件,其中的记录未写入")))
        << what;
    EXPECT_EQ(text, "") << what;
    EXPECT_TRUE(std::filesystem::symlink_status(journal).type() !=
                std::filesystem::file_type::not_found)
        << what;
  };
  ::chmod(journal.c_str(), 0640);
  expect_refused("rights of others");
  ::chmod(journal.c_str(), 0600);
  std::filesystem::create_hard_link(journal, journal + ".link");
  expect_refused("a second name");
  std::filesystem::remove(journal);
  std::filesystem::create_symlink(journal + ".link", journal);
  expect_refused("a symbolic link");
  EXPECT_EQ(read_file(journal + ".link"), bytes);
  std::filesystem::remove(journal);
  std::filesystem::create_directory(journal);
  expect_refused("a directory");
  std::filesystem::remove(journal);
  ASSERT_EQ(::mkfifo(journal.c_str(), 0600), 0);
  expect_refused("a FIFO");
}

TEST_F(JournalTest, NoSymbolicLinkIsFollowedWhenOneIsMade) {
  start();
  std::filesystem::create_symlink(dir.path("victim"), journal);
  log.asynch(true);
  write("1");
  log.asynch(false);
  EXPECT_FALSE(exists(dir.path("victim")));
  EXPECT_TRUE(std::filesystem::is_symlink(journal));
}

// --- Other processes ---

namespace {

// A process that holds the journal, until its end is asked for.
class Owner {
 public:
  explicit Owner(const std::string& journal) {
    int ready[2];
    int ends[2];
    EXPECT_EQ(::pipe(ready) | ::pipe(ends), 0);
    m_child = ::fork();
    if (m_child == 0) {
      ::close(ends[1]);
      const auto owned = LogJournal::make(journal, 4096);
      char byte = owned ? 'y' : 'n';
      static_cast<void>(::write(ready[1], &byte, 1) == ::read(ends[0], &byte, 1));
      ::_exit(0);
    }
    char byte = 'n';
    m_owns = ::read(ready[0], &byte, 1) == 1 && byte == 'y';
    for (const int end : {ready[0], ready[1], ends[0]}) {
      ::close(end);
    }
    m_end = ends[1];
  }
  ~Owner() {
    ::close(m_end);
    ::waitpid(m_child, nullptr, 0);
  }
  Owner(const Owner&) = delete;
  Owner& operator=(const Owner&) = delete;

  bool owns() const { return m_owns; }

 private:
  pid_t m_child = -1;
  int m_end = -1;
  bool m_owns = false;
};

}  // namespace

TEST_F(JournalTest, OneThatAnotherProcessOwnsIsLeftAloneAndTheSecondSaysSoWhereItWantsOne) {
  {
    const Owner owner(journal);
    ASSERT_TRUE(owner.owns());
    start();
    EXPECT_EQ(written(), "");
    log.asynch(true);
    write("1");
    log.asynch(false);
    EXPECT_TRUE(exists(journal));
    std::string text = written();
    EXPECT_TRUE(take_report(text, GBK(".journal文件属于另一进程,本进程的队列没有.journal文件")));
    EXPECT_EQ(text, text_of("1"));
  }
  log.asynch(true);  // its owner is gone
  EXPECT_TRUE(exists(journal));
  log.asynch(false);
  EXPECT_FALSE(exists(journal));
}

// The thread sanitizer begins no thread in a forked child.
#ifndef __SANITIZE_THREAD__
TEST_F(JournalTest, AForkedChildLeavesThatOfItsParentAlone) {
  start();
  log.asynch(true);
  IFWBase::instance();  // watches forks
  const pid_t child = ::fork();
  if (child == 0) {
    write("child");
    bool good = ec::succeeded(log.init()) && ec::succeeded(log.file(path.c_str()));
    log.asynch(true);  // the journal is its parent's
    write("child");
    log.release();
    good = good && exists(journal);
    ::_exit(good ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  write("parent");
  ASSERT_TRUE(exists(journal));
  log.asynch(false);
  EXPECT_FALSE(exists(journal));
  std::string text = written();
  EXPECT_TRUE(take_report(text, GBK(".journal文件属于另一进程,本进程的队列没有.journal文件")));
  EXPECT_EQ(text, text_of("child") + text_of("child") + kClosing + text_of("parent"));
}
#endif
