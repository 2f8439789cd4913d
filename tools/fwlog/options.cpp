// Declares the options to CLI11 in the user's language; then interprets the values.
#include "options.h"

#include <ctime>

#include <CLI/CLI.hpp>

#include "command_line/command_pages.h"
#include "command_line/parsing.h"
#include "output.h"
#include "shown_text.h"
#include "times.h"

namespace fwlog {

namespace {

using tools::Language;
using tools::Message;
using tools::refuse;

constexpr Message kFooter = {
    "The oldest records come first: those of the backups FILE.bak.N, then those of FILE. Several "
    "logs\n"
    "are printed one after the other.\n"
    "\n"
    "TIME is local: YYYY-MM-DD, YYYY-MM-DD HH:MM[:SS], HH:MM[:SS] of today, or -N with s, min, h "
    "or\n"
    "d, that long ago. Records without a time are in no range.\n"
    "\n"
    "Exit status: 0 records were printed; 1 no record passed; 2 wrong usage, a file that cannot "
    "be\n"
    "read, or output that cannot be written; 130 after Ctrl-C, but 0 with --follow.\n"
    "\n"
    "Example: fwlog --level error,alert --since 08:00 --follow host.log",
    "先打印最早的记录：先是备份 FILE.bak.N，再是 FILE。多个日志依次打印。\n"
    "\n"
    "TIME 是本地时间：YYYY-MM-DD、YYYY-MM-DD HH:MM[:SS]、今天的 HH:MM[:SS]，或者 -N 加\n"
    "s（秒）、min（分）、h（时）、d（天），表示多久以前。没有时间的记录不在任何时间范围内。\n"
    "\n"
    "退出状态：0 打印了记录；1 没有符合条件的记录；2 用法错误，或者文件无法读取，\n"
    "或者无法写输出；按 Ctrl-C 后是 130，用 --follow 时是 0。\n"
    "\n"
    "例：fwlog --level error,alert --since 08:00 --follow host.log"};

// Values as typed.
struct Typed {
  std::string lines;
  std::string levels;
  std::string since;
  std::string until;
  std::string pid;
  std::string object;
  std::string function;
  std::string source;
  std::string grep;
  std::string exclude;
  std::string encoding;
  std::string output;
};

// The options, with their descriptions in one language.
class Declaration {
 public:
  Declaration(CLI::App& app, Language language) : m_app(app), m_language(language) {}

  void flag(const char* name, bool& value, const Message& description) {
    m_app.add_flag(name, value, in_language(m_language, description));
  }

  void option(const char* name, const char* type, std::string& value, const Message& description) {
    m_app.add_option(name, value, in_language(m_language, description))->type_name(type);
  }

  void all(Options& options, Typed& typed);

 private:
  void reading(Options& options, Typed& typed);
  void filters(Typed& typed);
  void printing(Options& options, Typed& typed);

  CLI::App& m_app;
  const Language m_language;
};

void Declaration::reading(Options& options, Typed& typed) {
  m_app
      .add_option("FILE", options.files,
                  in_language(m_language, {"The logs to read; - is standard input",
                                           "要读的日志；- 表示标准输入"}))
      ->required();
  flag("--only", options.only, {"Read FILE alone, without its backups", "只读 FILE，不读它的备份"});
  flag("-f,--follow", options.follow,
       {"Go on with new records, through rotations, until interrupted",
        "继续打印新来的记录，日志轮换后也继续，直到被中断"});
  option("-n,--lines", "N", typed.lines,
         {"Print the last N records that pass; with --follow, then new ones",
          "打印符合条件的最后 N 条记录；用 --follow 时再打印新来的"});
  option("--encoding", "auto|gbk|gb18030|utf-8", typed.encoding,
         {"The encoding of the log (default: auto, GBK with pieces of UTF-8)",
          "日志的编码（默认 auto：GBK 中夹有 UTF-8）"});
  flag("--journal", options.journal,
       {"Also print what is only in a journal beside FILE",
        "也打印 FILE 旁边的 journal 中还有的记录"});
}

void Declaration::filters(Typed& typed) {
  option("--level", "LIST", typed.levels,
         {"Print these levels, separated by commas: trace, debug, warn,\nerror, alert, dump, null",
          "打印这些级别，用逗号分隔：trace、debug、warn、error、\nalert、dump、null"});
  option("--since", "TIME", typed.since,
         {"Print records of TIME or later", "打印 TIME 及以后的记录"});
  option("--until", "TIME", typed.until,
         {"Print records of TIME or earlier", "打印 TIME 及以前的记录"});
  option("--pid", "N", typed.pid, {"Print records of process N", "打印进程 N 的记录"});
  option("--object", "HEX", typed.object,
         {"Print records about the object at this address", "打印关于该地址的对象的记录"});
  option("--function", "TEXT", typed.function,
         {"Print records of functions whose signature contains TEXT",
          "打印签名中含有 TEXT 的函数的记录"});
  option("--source", "TEXT", typed.source,
         {"Print records of source files whose path contains TEXT",
          "打印路径中含有 TEXT 的源文件的记录"});
  option("--grep", "REGEX", typed.grep,
         {"Print records whose message matches (POSIX extended expression)",
          "打印消息匹配的记录（POSIX 扩展正则表达式）"});
  option("--exclude", "REGEX", typed.exclude,
         {"Leave out records whose message matches", "不打印消息匹配的记录"});
}

void Declaration::printing(Options& options, Typed& typed) {
  option("--output", "text|json|raw", typed.output,
         {"text for people (default), json: one object on each line, raw:\nthe bytes of the file",
          "text 给人看（默认），json：每行一个对象，raw：文件原来的字节"});
  flag("--full", options.full, {"Print all fields of each record", "打印每条记录的所有字段"});
  flag("--calls", options.filter.calls,
       {"Print the \"Call: \" and \"Ret: \" records of scopes as a tree",
        "把 “Call: ” 和 “Ret: ” 记录打印成树"});
  flag("--stats", options.stats,
       {"Print the number of records by level, by function and by source\nfile",
        "打印各级别、各函数、各源文件的记录数"});
}

void Declaration::all(Options& options, Typed& typed) {
  tools::name_command(m_app, "fwlog", "--help", m_language);
  m_app.description(in_language(m_language, {"Prints the records of logs.", "打印日志的记录。"}));
  m_app.footer(in_language(m_language, kFooter));
  reading(options, typed);
  filters(typed);
  printing(options, typed);
}

std::uint64_t count_of(const char* option, const std::string& text) {
  const std::optional<std::uint64_t> number = log_records::number_of(text);
  if (!number) {
    refuse(option, {"'{1}' is not a number", "“{1}”不是数字"}, {text});
  }
  return *number;
}

unsigned int levels_of(const std::string& list) {
  tools::Words<unsigned int> words;
  for (unsigned int level = 0; level < log_records::kLevelCount; ++level) {
    words.emplace_back(name_of(static_cast<log_records::Level>(level)), 1U << level);
  }
  return tools::bits_of("--level", list, words);
}

log_records::Time moment_of(const char* option, const std::string& text) {
  const std::optional<log_records::Time> time = time_of(text, std::time(nullptr));
  if (!time) {
    refuse(option,
           {"'{1}' is not a TIME that exists: YYYY-MM-DD, YYYY-MM-DD HH:MM[:SS], HH:MM[:SS] or -N "
            "with s, min, h or d",
            "“{1}”不是存在的 TIME：YYYY-MM-DD、YYYY-MM-DD HH:MM[:SS]、HH:MM[:SS]，或者 -N 加 "
            "s、min、h、d"},
           {text});
  }
  return *time;
}

std::string address_of(const std::string& text) {
  const std::optional<std::string> object = object_of(text);
  if (!object) {
    refuse("--object", {"'{1}' is not a hexadecimal number", "“{1}”不是十六进制数"}, {text});
  }
  return *object;
}

std::unique_ptr<const Regex> regex_of(const char* option, const std::string& text) {
  if (!use_utf8_characters()) {
    refuse(option, {"needs the locale C.UTF-8, which this system lacks",
                    "需要本系统没有的区域设置 C.UTF-8"});
  }
  try {
    return std::make_unique<const Regex>(text);
  } catch (const BadRegex& error) {
    refuse(option, {"'{1}': {2}", "“{1}”：{2}"}, {shown(text), error.what()});
  }
}

log_records::Encoding encoding_of(const std::string& name) {
  using log_records::Encoding;
  const auto encoding = tools::one_of<Encoding>("--encoding", name,
                                                {{"auto", Encoding::kAuto},
                                                 {"gbk", Encoding::kGbk},
                                                 {"gb18030", Encoding::kGb18030},
                                                 {"utf-8", Encoding::kUtf8}});
  if (encoding == Encoding::kGb18030 && !log_records::has_gb18030()) {
    refuse("--encoding", {"this system cannot read GB18030", "本系统不能读 GB18030"});
  }
  return encoding;
}

void interpret_filters(const CLI::App& app, const Typed& typed, Filter& filter) {
  const auto is_given = [&app](const char* option) { return app.count(option) != 0; };
  if (is_given("--level")) {
    filter.levels = levels_of(typed.levels);
  }
  if (is_given("--since")) {
    filter.since = moment_of("--since", typed.since);
  }
  if (is_given("--until")) {
    filter.until = moment_of("--until", typed.until);
  }
  if (is_given("--pid")) {
    filter.pid = count_of("--pid", typed.pid);
  }
  if (is_given("--object")) {
    filter.object = address_of(typed.object);
  }
  if (is_given("--function")) {
    filter.function = typed.function;
  }
  if (is_given("--source")) {
    filter.source = typed.source;
  }
  if (is_given("--grep")) {
    filter.grep = regex_of("--grep", typed.grep);
  }
  if (is_given("--exclude")) {
    filter.exclude = regex_of("--exclude", typed.exclude);
  }
}

void interpret(const CLI::App& app, const Typed& typed, Options& options) {
  interpret_filters(app, typed, options.filter);
  if (app.count("--lines") != 0) {
    options.lines = count_of("--lines", typed.lines);
  }
  if (app.count("--encoding") != 0) {
    options.filter.encoding = encoding_of(typed.encoding);
  }
  if (app.count("--output") != 0) {
    options.form =
        tools::one_of<Form>("--output", typed.output,
                            {{"text", Form::kText}, {"json", Form::kJson}, {"raw", Form::kRaw}});
  }
}

void check_combination(const Options& options) {
  if (options.form != Form::kText && options.filter.calls) {
    refuse("--calls", {"goes with --output text only", "只能与 --output text 合用"});
  }
  if (options.form != Form::kText && options.stats) {
    refuse("--stats", {"goes with --output text only", "只能与 --output text 合用"});
  }
  if (options.stats && options.follow) {
    refuse("--stats", {"does not go with --follow", "不能与 --follow 合用"});
  }
  if (options.stats && options.filter.calls) {
    refuse("--stats", {"does not go with --calls", "不能与 --calls 合用"});
  }
}

int print(const std::string& text) {
  Output out;
  out.add(text);
  out.flush();
  return kPassed;
}

}  // namespace

std::optional<int> parse_options(int argc, char** argv, Options& options) {
  CLI::App app;
  Typed typed;
  Declaration(app, tools::asks_for_page(argc, argv) ? Language::kEnglish : tools::users_language())
      .all(options, typed);
  return tools::parse(app, argc, argv,
                      {{"--encoding", "auto gbk gb18030 utf-8"},
                       {"--level", "trace debug warn error alert dump null", "", true},
                       {"--output", "text json raw"}},
                      print, [&] {
                        interpret(app, typed, options);
                        check_combination(options);
                      });
}

}  // namespace fwlog
