// Boost.Log: a text file that is flushed at each record, written by the caller or, through a
// bounded queue whose callers block, by a thread.
#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/log/attributes.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_logger.hpp>
#include <boost/log/support/date_time.hpp>
#include <boost/log/trivial.hpp>
#include <boost/make_shared.hpp>

#include "bench/log/logger.h"

namespace fwbase::bench {

namespace {

namespace attributes = boost::log::attributes;
namespace expressions = boost::log::expressions;
namespace sinks = boost::log::sinks;
using boost::log::trivial::severity_level;

using Backend = sinks::text_file_backend;
using DirectSink = sinks::synchronous_sink<Backend>;
using QueuedSink =
    sinks::asynchronous_sink<Backend,
                             sinks::bounded_fifo_queue<kQueuedRecords, sinks::block_on_overflow>>;

boost::log::formatter formatter_for(Mode mode) {
  const auto level = expressions::attr<severity_level>("Severity");
  if (mode != Mode::kWithDetails) {
    return expressions::stream << '[' << level << "]: " << expressions::message;
  }
  return expressions::stream
         << '[' << level
         << "]: pid:" << expressions::attr<attributes::current_process_id::value_type>("ProcessID")
         << " tid:" << expressions::attr<attributes::current_thread_id::value_type>("ThreadID")
         << ' '
         << expressions::format_date_time<boost::posix_time::ptime>("TimeStamp",
                                                                    "%a %b %d %H:%M:%S %Y")
         << ' ' << expressions::message;
}

class Boost : public Logger {
 public:
  Boost(Mode mode, const std::string& file) {
    const auto backend = boost::make_shared<Backend>(boost::log::keywords::file_name = file,
                                                     boost::log::keywords::auto_flush = true);
    if (mode == Mode::kQueued) {
      m_queued = add<QueuedSink>(backend, mode);
    } else {
      m_direct = add<DirectSink>(backend, mode);
    }
    if (mode == Mode::kWithDetails) {
      core().add_global_attribute("TimeStamp", attributes::local_clock());
      core().add_global_attribute("ProcessID", attributes::current_process_id());
      core().add_global_attribute("ThreadID", attributes::current_thread_id());
    }
    const severity_level least =
        mode == Mode::kDisabled ? severity_level::error : severity_level::warning;
    core().set_filter(expressions::attr<severity_level>("Severity") >= least);
  }

  ~Boost() override {
    Boost::finish();
    core().remove_all_sinks();
    core().set_global_attributes({});
    core().reset_filter();
  }
  Boost(const Boost&) = delete;
  Boost& operator=(const Boost&) = delete;

  void log(int first, int count) override {
    for (int number = first; number < first + count; ++number) {
      BOOST_LOG_SEV(m_source, severity_level::warning)
          << "this(0xb0000000) " << __PRETTY_FUNCTION__ << ' ' << __FILE__ << '(' << __LINE__
          << ") " BENCH_COMPILED "\r\n >" << BENCH_STREAMED(number);
    }
  }

  void finish() override {
    if (m_queued) {
      m_queued->stop();
      m_queued->flush();
    }
  }

 private:
  static boost::log::core& core() { return *boost::log::core::get(); }

  template <typename Sink>
  boost::shared_ptr<Sink> add(const boost::shared_ptr<Backend>& backend, Mode mode) {
    const auto sink = boost::make_shared<Sink>(backend);
    sink->set_formatter(formatter_for(mode));
    core().add_sink(sink);
    return sink;
  }

  boost::log::sources::severity_logger_mt<severity_level> m_source;
  boost::shared_ptr<DirectSink> m_direct;
  boost::shared_ptr<QueuedSink> m_queued;
};

// The size of its queue is compiled in: it has one.
const RegisterLogger boost_row("Boost.Log", Role::kPeer,
                               [](Mode mode, const std::string& file) -> std::unique_ptr<Logger> {
                                 return mode != Mode::kLargeQueue
                                            ? std::make_unique<Boost>(mode, file)
                                            : nullptr;
                               });

}  // namespace

}  // namespace fwbase::bench
