// docs/log_format.md: the grammar on the page is that of the records that the library writes, and
// the page's commands read them.
#include <fwbase/fwbase.h>
#include <fwbase/module.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "tests/docs/abnf.h"
#include "tests/docs/markdown.h"
#include "tests/harness/matching.h"
#include "tests/harness/run_program.h"
#include "tests/harness/temp_dir.h"

using fwbase::IFWBase;
using fwbase::IMM;
using fwbase::IRunLog;
using fwbase::IScript;
using fwbase::test::Abnf;
using fwbase::test::AbnfMatch;
using fwbase::test::has_match;
using fwbase::test::MarkdownPage;
using fwbase::test::run_program;
using fwbase::test::TempDir;

namespace {

const MarkdownPage& page() {
  static const MarkdownPage log_format("docs/log_format.md");
  return log_format;
}

const Abnf& grammar() {
  static const Abnf of_the_page(page().blocks("abnf").at(0));
  return of_the_page;
}

/// Names of the levels that a record can have, by their values.
constexpr struct {
  unsigned int value;
  const char* name;
} kLevels[] = {{1, "TRACE"},  {2, "DEBUG"}, {4, "WARN "}, {8, "ERROR"},  {16, "ALERT"},
               {32, "DUMP "}, {0, "NULL "}, {3, "NULL "}, {64, "NULL "}, {0xFFFFFFFFu, "NULL "}};

std::string without_first_newline(std::string text) {
  const std::size_t newline = text.find('\n');
  return newline == std::string::npos ? text : text.erase(newline, 1);
}

/// All bytes but zero and those given.
std::string bytes_without(const std::string& excluded) {
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte) {
    if (excluded.find(static_cast<char>(byte)) == std::string::npos) {
      bytes += static_cast<char>(byte);
    }
  }
  return bytes;
}

/// A facade in service that logs into a file called host.log, in a directory of its own.
class LogFormatPage : public testing::Test {
 protected:
  LogFormatPage() {
    m_facade->init();
    EXPECT_EQ(log().file(m_directory.path("host.log").c_str()), ec::LOG_OK);
  }
  ~LogFormatPage() override { m_facade->release(); }

  IRunLog& log() { return *m_facade->runlog(); }

  /// What the file has got since the last call.
  std::string written() {
    std::ostringstream fresh;
    std::ifstream in(m_directory.path("host.log"), std::ios::binary);
    in.seekg(m_seen);
    fresh << in.rdbuf();
    m_seen += fresh.tellp();
    return fresh.str();
  }

  AbnfMatch only_record() {
    const std::string text = written();
    const auto match = grammar().match("record", text);
    EXPECT_TRUE(match) << text;
    return match.value_or(AbnfMatch());
  }

  /// What a shell prints that runs one of the page's blocks beside the log.
  std::string output_of(const std::string& command) {
    return run_program({"/bin/sh", "-c", "cd '" + m_directory.path() + "' && " + command}).out;
  }

  TempDir m_directory;

 private:
  IFWBase* const m_facade = IFWBase::instance();
  std::streamoff m_seen = 0;
};

void expect_details(const AbnfMatch& record, unsigned int details) {
  const std::string id = std::to_string(::getpid());
  EXPECT_EQ(record.count("pid") != 0, (details & IRunLog::INFO_PID) != 0);
  EXPECT_EQ(record.count("tid") != 0, (details & IRunLog::INFO_TID) != 0);
  EXPECT_EQ(record.count("time") != 0, (details & IRunLog::INFO_TIME) != 0);
  if (record.count("pid") != 0) {
    EXPECT_EQ(record.at("pid"), " pid:" + id);
  }
  if (record.count("tid") != 0) {
    EXPECT_EQ(record.at("tid"), " tid:" + id);
  }
}

/// A command of the page that goes on until this object is destroyed.
class Running {
 public:
  Running(const std::string& command, const std::string& directory) {
    int ends[2];
    if (pipe(ends) != 0) {
      throw std::runtime_error("no pipe");
    }
    m_shell = fork();
    if (m_shell == 0) {
      setpgid(0, 0);
      dup2(ends[1], STDOUT_FILENO);
      close(ends[0]);
      close(ends[1]);
      if (chdir(directory.c_str()) == 0) {
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
      }
      _exit(127);
    }
    setpgid(m_shell, m_shell);
    close(ends[1]);
    m_output = ends[0];
  }
  ~Running() {
    kill(-m_shell, SIGKILL);
    waitpid(m_shell, nullptr, 0);
    close(m_output);
  }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

  /// Waits for this line. False when the output ends before.
  bool shows(const std::string& wanted) const {
    std::string line;
    for (char byte = 0; read(m_output, &byte, 1) == 1;) {
      if (byte != '\n') {
        line += byte;
      } else if (line == wanted) {
        return true;
      } else {
        line.clear();
      }
    }
    return false;
  }

 private:
  pid_t m_shell = -1;
  int m_output = -1;
};

struct Host {
  void log_and_trace() {
    FWBASE_TRACE("coming up");
    FWBASE_LOG(WARN, "%s", std::string(2000, 'x').c_str());
  }
};

/// The records of a log, by the rule of the page: each begins with a line that begins with a tag.
std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> records;
  std::size_t begin = 0;
  for (std::size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
    if (at > begin && grammar().match("tag", text.substr(at, 8))) {
      records.push_back(text.substr(begin, at - begin));
      begin = at;
    }
  }
  records.push_back(text.substr(begin));
  return records;
}

}  // namespace

TEST_F(LogFormatPage, TheGrammarIsThatOfEveryRecord) {
  const std::string locations[] = {"", "here", "a\nb\nc", bytes_without("\r"), "this(0x1) f g"};
  const std::string messages[] = {
      "", "text", "\n", "\na\n\n", "a\r\n >b", std::string(1500, 'm'), bytes_without("")};
  int records = 0;
  for (unsigned int details = 0; details < 16; details += 2) {
    log().info(details);
    for (const auto& level : kLevels) {
      for (const std::string& location : locations) {
        for (const std::string& message : messages) {
          log().write(static_cast<IRunLog::Type>(level.value), message.c_str(), location.c_str());
          const AbnfMatch record = only_record();
          ASSERT_EQ(record.at("level"), level.name);
          ASSERT_EQ(record.at("message"), message);
          const bool has_time = (details & IRunLog::INFO_TIME) != 0;
          ASSERT_EQ(record.at("location"), has_time ? location : without_first_newline(location));
          expect_details(record, details);
          ++records;
        }
      }
    }
  }
  EXPECT_EQ(records, 8 * 10 * 5 * 7);
}

TEST_F(LogFormatPage, ANullLocationIsAnEmptyOne) {
  log().write(IRunLog::ERROR, "text", nullptr);
  EXPECT_EQ(only_record().at("location"), "");
}

TEST_F(LogFormatPage, TheGrammarRefusesWhatIsNoRecord) {
  for (const char* const text :
       {"", "[ERROR]: here\r\n >text", "[error]: here\r\n >text\n", "[WARN]: here\r\n >text\n",
        "[ERROR]:here\r\n >text\n", "[ERROR]: here\n >text\n", "[ERROR]: here\r\n>text\n",
        " [ERROR]: here\r\n >text\n", "here\r\n >text\n"}) {
    EXPECT_FALSE(grammar().match("record", text)) << text;
  }
  EXPECT_TRUE(grammar().match("record", "[ERROR]: here\r\n >text\n"));
}

TEST_F(LogFormatPage, MessagesAndTracesHaveTheLocationsOfTheGrammar) {
  log().type(0x3F);
  log().info(IRunLog::INFO_TIME | IRunLog::INFO_PID | IRunLog::INFO_TID);
  Host().log_and_trace();
  log().type(0);
  const std::vector<std::string> records = split(written());
  ASSERT_EQ(records.size(), 3u);
  const char* const locations[] = {"traced", "logged", "traced"};
  const std::string messages[] = {"Call: coming up", std::string(1022, 'x'), "Ret: coming up"};
  for (std::size_t i = 0; i < records.size(); ++i) {
    const auto record = grammar().match("record", records[i]);
    ASSERT_TRUE(record) << records[i];
    EXPECT_EQ(record->count(locations[i]), 1u) << records[i];
    EXPECT_EQ(record->at("message"), messages[i]);
    EXPECT_EQ(record->at("file"), "tests/docs/log_format_test.cpp");
    EXPECT_TRUE(has_match(record->at("function"), "Host::log_and_trace\\(\\)$"));
    EXPECT_TRUE(has_match(record->at("line"), "^[0-9]+$"));
  }
}

TEST_F(LogFormatPage, TheLibrarysOwnRecordsAreOfTheGrammar) {
  log().type(0x3F);
  log().asynch(true);
  IFWBase* const facade = IFWBase::instance();
  facade->script()->load_script(m_directory.path("none.xml").c_str());
  facade->global_env()->insert_str(nullptr, nullptr);
  facade->mm()->query_mid(5);
  facade->release();
  const std::vector<std::string> records = split(written());
  EXPECT_GE(records.size(), 5u);
  std::size_t own = 0;
  for (const std::string& text : records) {
    const auto record = grammar().match("record", text);
    ASSERT_TRUE(record) << text;
    own += record->count("logged") + record->count("traced");
  }
  EXPECT_EQ(own, records.size() - 1) << "all but the last have a location of the library";
  EXPECT_EQ(records.back(), "[DEBUG]: \r\n >\nlog system release\n\n");
}

TEST_F(LogFormatPage, NoNameOrPathInTheLibrarysMessagesBeginsARecord) {
  const std::string forged = "x\n[ALERT]: pid:1 \r\n >the disk is full\n";
  const std::string shown = "x\\n[ALERT]: pid:1 \\r\\n >the disk is full\\n";
  log().type(IRunLog::ERROR);
  IFWBase* const facade = IFWBase::instance();
  const char* value = nullptr;
  std::int32_t number = 0;
  IMM::IBase* module = nullptr;
  facade->global_env()->get_str(forged.c_str(), value);
  facade->script()->get_value(forged.c_str(), IScript::VT_INT, &number);
  facade->script()->load_script(forged.c_str());
  facade->mm()->create_module(module, forged.c_str(), "create", nullptr);
  log().type(0);
  const std::vector<std::string> records = split(written());
  EXPECT_GE(records.size(), 4u);
  for (const std::string& text : records) {
    const auto record = grammar().match("record", text);
    ASSERT_TRUE(record) << text;
    EXPECT_EQ(record->at("level"), "ERROR") << text;
    EXPECT_NE(record->at("message").find(shown), std::string::npos) << text;
  }
}

TEST_F(LogFormatPage, ALocationThatWasCutIsOfTheGrammar) {
  const std::string site = "this(0x1) " + std::string(2000, 'f') + " a.cpp(1) CT:";
  const std::unique_ptr<char[]> formatted(IRunLog::FormatStr("%s", site.c_str()));
  const std::string cut = formatted.get();
  EXPECT_EQ(cut, site.substr(0, 1022));
  log().write(IRunLog::WARN, "text", cut.c_str());
  const AbnfMatch record = only_record();
  EXPECT_EQ(record.at("location"), cut);
  EXPECT_EQ(record.count("other"), 1u);
}

TEST_F(LogFormatPage, ThePagesCommandPrintsTheMessagesOfErrors) {
  log().info(IRunLog::INFO_TIME | IRunLog::INFO_PID);
  log().write(IRunLog::ERROR, "first\nwith a line", "here");
  log().write(IRunLog::WARN, "not this", "here");
  log().info(0);
  log().write(IRunLog::ERROR, "", "a\nb\nc");
  log().write(IRunLog::DEBUG, "[nor] this", nullptr);
  log().write(IRunLog::ERROR, "\xCE\xC4\xBC\xFE\r\n >", "\xCE\xC4");
  log().write(IRunLog::ERROR, "half a character \xCE", nullptr);
  EXPECT_EQ(output_of(page().section("Where a record ends").blocks("sh").at(0)),
            "first\nwith a line\n\n\xE6\x96\x87\xE4\xBB\xB6\r\n >\nhalf a character \n");
}

TEST_F(LogFormatPage, ThePagesCommandPrintsAllFilesInOrder) {
  const std::string full(10 * 1024 * 1024, 'm');
  for (int i = 0; i < 6; ++i) {
    log().write(IRunLog::WARN, (std::to_string(i) + " " + full).c_str(), nullptr);
  }
  log().write(IRunLog::WARN, "6 ", nullptr);
  std::string order;
  for (const std::string& text : split(output_of(page().section("Files").blocks("sh").at(0)))) {
    const std::size_t message = text.find('>') + 1;
    order += text.substr(message, text.find(' ', message) + 1 - message);
  }
  EXPECT_EQ(order, "2 3 4 5 6 ") << "four backups and the present file; the oldest two are lost";
}

TEST_F(LogFormatPage, ThePagesCommandFollowsTheLog) {
  const std::string path = m_directory.path("host.log");
  log().write(IRunLog::ERROR, "\xCE\xC4\xBC\xFE 1", nullptr);
  const Running follower(page().section("Encoding").blocks("sh").at(0), m_directory.path());
  EXPECT_TRUE(follower.shows(" >\xE6\x96\x87\xE4\xBB\xB6 1"));
  log().write(IRunLog::ERROR, "half a character \xCE", nullptr);
  EXPECT_TRUE(follower.shows(" >half a character "));
  std::filesystem::rename(path, path + ".bak.0");  // as a rotation does
  EXPECT_EQ(log().file(path.c_str()), ec::LOG_OK);
  log().write(IRunLog::ERROR, "\xCE\xC4\xBC\xFE \\n 2", nullptr);
  EXPECT_TRUE(follower.shows(" >\xE6\x96\x87\xE4\xBB\xB6 \\n 2"));
}
